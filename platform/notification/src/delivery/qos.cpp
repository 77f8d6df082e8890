#include "delivery/qos.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>
#include <vector>

#include "delivery/utc_time.h"

namespace kelp::notification {

namespace {

using namespace CosNotification;
using std::chrono::milliseconds;

constexpr std::uint64_t kUnitsPerMs = 10000;  // TimeBase::TimeT counts 100 ns
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kMostBatch = 1000;

struct Problem {
    QoSError_code code;
    CORBA::Any low;
    CORBA::Any high;
};

template <class Value>
CORBA::Any anyOf(Value value) {
    CORBA::Any any;
    any <<= value;
    return any;
}

template <class Value>
Problem outOf(QoSError_code code, Value low, Value high) {
    return {code, anyOf(low), anyOf(high)};
}

/// Store a number between `low` and `high` in `into`.
template <class Wire, class Value>
std::optional<Problem> takeNumber(const CORBA::Any& any, Wire low, Wire high, Value& into) {
    Wire value{};
    if (!(any >>= value))
        return outOf(BAD_TYPE, low, high);
    if (value < low || value > high)
        return outOf(BAD_VALUE, low, high);
    into = value;
    return std::nullopt;
}

constexpr CORBA::ULongLong kLongestTime = kUnitsPerMs * static_cast<std::uint64_t>(kMost);

std::optional<Problem> takeTime(const CORBA::Any& any, milliseconds& into) {
    CORBA::ULongLong value = 0;
    if (!(any >>= value))
        return outOf<CORBA::ULongLong>(BAD_TYPE, 0, kLongestTime);
    if (value > kLongestTime)
        return outOf<CORBA::ULongLong>(BAD_VALUE, 0, kLongestTime);
    into = fromWireTime(value);
    return std::nullopt;
}

CORBA::ULongLong toWireTime(milliseconds time) {
    return static_cast<std::uint64_t>(time.count()) * kUnitsPerMs;
}

/// A policy that the standard defines but the channel does not offer is unsupported. Any other
/// number is a bad value.
std::optional<Problem> takeOrder(const CORBA::Any& any, std::initializer_list<CORBA::Short> offered,
                                 std::int16_t& into) {
    CORBA::Short value = 0;
    if (!(any >>= value))
        return outOf<CORBA::Short>(BAD_TYPE, AnyOrder, LifoOrder);
    if (value < AnyOrder || value > LifoOrder)
        return outOf<CORBA::Short>(BAD_VALUE, AnyOrder, LifoOrder);
    if (std::find(offered.begin(), offered.end(), value) == offered.end())
        return outOf<CORBA::Short>(UNSUPPORTED_VALUE, *offered.begin(), *(offered.end() - 1));
    into = value;
    return std::nullopt;
}

/// Accept the value that the channel implements anyway. Others are unsupported.
std::optional<Problem> requireBestEffort(const CORBA::Any& any) {
    CORBA::Short value = 0;
    if (!(any >>= value))
        return outOf<CORBA::Short>(BAD_TYPE, BestEffort, BestEffort);
    if (value != BestEffort)
        return outOf<CORBA::Short>(value == Persistent ? UNSUPPORTED_VALUE : BAD_VALUE, BestEffort,
                                   BestEffort);
    return std::nullopt;
}

std::optional<Problem> requireFalse(const CORBA::Any& any) {
    CORBA::Boolean value = false;
    CORBA::Any no;
    no <<= CORBA::Any::from_boolean(false);
    if (!(any >>= CORBA::Any::to_boolean(value)))
        return Problem{BAD_TYPE, no, no};
    if (value)
        return Problem{UNSUPPORTED_VALUE, no, no};
    return std::nullopt;
}

/// The sides on which a quality is offered, as bits.
constexpr unsigned kForConsumers = 1;
constexpr unsigned kForSuppliers = 2;
constexpr unsigned kForEvents = 4;  ///< allowed in an event's header
constexpr unsigned kForBoth = kForConsumers | kForSuppliers;

unsigned maskOf(QosSide side) {
    switch (side) {
        case QosSide::Consumer:
            return kForConsumers;
        case QosSide::Supplier:
            return kForSuppliers;
        case QosSide::Channel:
            break;
    }
    return kForBoth;
}

PropertyRange eitherFlag() {
    PropertyRange range;
    range.low_val <<= CORBA::Any::from_boolean(false);
    range.high_val <<= CORBA::Any::from_boolean(true);
    return range;
}

std::optional<Problem> takeFlag(const CORBA::Any& any, bool& into) {
    CORBA::Boolean value = false;
    if (!(any >>= CORBA::Any::to_boolean(value)))
        return Problem{BAD_TYPE, eitherFlag().low_val, eitherFlag().high_val};
    into = value;
    return std::nullopt;
}

std::optional<Problem> requireStopTime(const CORBA::Any& any, const Qos& qos) {
    if (!qos.stopTimeSupported)
        return Problem{UNAVAILABLE_PROPERTY, {}, {}};
    return utcOf(any) ? std::nullopt : std::optional<Problem>(Problem{BAD_TYPE, {}, {}});
}

struct Quality {
    const char* name;
    unsigned sides;
    std::optional<Problem> (*take)(const CORBA::Any& value, Qos& into);
    void (*give)(const Qos& from, CORBA::Any& value);
    /// Null: there is only one value.
    PropertyRange (*range)() = nullptr;
};

template <class Value, Value low, Value high>
PropertyRange between() {
    PropertyRange range;
    range.low_val <<= low;
    range.high_val <<= high;
    return range;
}

constexpr auto kAnyTime = between<CORBA::ULongLong, 0, kLongestTime>;

const Quality kQualities[] = {
    {EventReliability, kForBoth | kForEvents,
     [](const CORBA::Any& any, Qos&) { return requireBestEffort(any); },
     [](const Qos&, CORBA::Any& any) { any <<= BestEffort; }},
    {ConnectionReliability, kForBoth,
     [](const CORBA::Any& any, Qos&) { return requireBestEffort(any); },
     [](const Qos&, CORBA::Any& any) { any <<= BestEffort; }},
    {StartTimeSupported, kForBoth, [](const CORBA::Any& any, Qos&) { return requireFalse(any); },
     [](const Qos&, CORBA::Any& any) { any <<= CORBA::Any::from_boolean(false); }},
    {StopTimeSupported, kForBoth,
     [](const CORBA::Any& any, Qos& qos) { return takeFlag(any, qos.stopTimeSupported); },
     [](const Qos& qos, CORBA::Any& any) {
         any <<= CORBA::Any::from_boolean(qos.stopTimeSupported);
     },
     eitherFlag},
    {StopTime, kForEvents,
     [](const CORBA::Any& any, Qos& qos) { return requireStopTime(any, qos); },
     [](const Qos&, CORBA::Any&) {}},
    {MaxEventsPerConsumer, kForConsumers,
     [](const CORBA::Any& any, Qos& qos) {
         return takeNumber<CORBA::Long>(any, 0, kMost, qos.maxEventsPerConsumer);
     },
     [](const Qos& qos, CORBA::Any& any) { any <<= CORBA::Long(qos.maxEventsPerConsumer); },
     between<CORBA::Long, 0, kMost>},
    {OrderPolicy, kForConsumers,
     [](const CORBA::Any& any, Qos& qos) {
         return takeOrder(any, {AnyOrder, FifoOrder, PriorityOrder, DeadlineOrder},
                          qos.orderPolicy);
     },
     [](const Qos& qos, CORBA::Any& any) { any <<= CORBA::Short(qos.orderPolicy); },
     between<CORBA::Short, AnyOrder, DeadlineOrder>},
    {DiscardPolicy, kForConsumers,
     [](const CORBA::Any& any, Qos& qos) {
         return takeOrder(any, {AnyOrder, FifoOrder, PriorityOrder, DeadlineOrder, LifoOrder},
                          qos.discardPolicy);
     },
     [](const Qos& qos, CORBA::Any& any) { any <<= CORBA::Short(qos.discardPolicy); },
     between<CORBA::Short, AnyOrder, LifoOrder>},
    {MaximumBatchSize, kForConsumers,
     [](const CORBA::Any& any, Qos& qos) {
         return takeNumber<CORBA::Long>(any, 1, kMostBatch, qos.maximumBatchSize);
     },
     [](const Qos& qos, CORBA::Any& any) { any <<= CORBA::Long(qos.maximumBatchSize); },
     between<CORBA::Long, 1, kMostBatch>},
    {PacingInterval, kForConsumers,
     [](const CORBA::Any& any, Qos& qos) { return takeTime(any, qos.pacingInterval); },
     [](const Qos& qos, CORBA::Any& any) { any <<= toWireTime(qos.pacingInterval); }, kAnyTime},
    {Priority, kForBoth | kForEvents,
     [](const CORBA::Any& any, Qos& qos) {
         return takeNumber<CORBA::Short>(any, LowestPriority, HighestPriority, qos.priority);
     },
     [](const Qos& qos, CORBA::Any& any) { any <<= CORBA::Short(qos.priority); },
     between<CORBA::Short, LowestPriority, HighestPriority>},
    {Timeout, kForBoth | kForEvents,
     [](const CORBA::Any& any, Qos& qos) { return takeTime(any, qos.timeout); },
     [](const Qos& qos, CORBA::Any& any) { any <<= toWireTime(qos.timeout); }, kAnyTime},
};

/// Properties that the standard defines and the channel offers on no side.
const char* const kNeverOffered[] = {StartTime};

std::vector<Quality> qualitiesOf(unsigned sides) {
    std::vector<Quality> offered;
    for (const Quality& each : kQualities) {
        if ((each.sides & sides) != 0)
            offered.push_back(each);
    }
    return offered;
}

bool isNamedByTheStandard(const char* name) {
    const auto isIt = [name](const char* each) { return std::strcmp(each, name) == 0; };
    return std::any_of(std::begin(kNeverOffered), std::end(kNeverOffered), isIt) ||
           std::any_of(std::begin(kQualities), std::end(kQualities),
                       [&](const Quality& each) { return isIt(each.name); });
}

struct Limit {
    const char* name;
    std::optional<Problem> (*take)(const CORBA::Any& value, AdminLimits& into);
    void (*give)(const AdminLimits& from, CORBA::Any& value);
};

const Limit kLimits[] = {
    {MaxQueueLength,
     [](const CORBA::Any& any, AdminLimits& limits) {
         return takeNumber<CORBA::Long>(any, 0, kMost, limits.maxQueueLength);
     },
     [](const AdminLimits& limits, CORBA::Any& any) {
         any <<= CORBA::Long(limits.maxQueueLength);
     }},
    {MaxConsumers,
     [](const CORBA::Any& any, AdminLimits& limits) {
         return takeNumber<CORBA::Long>(any, 0, kMost, limits.maxConsumers);
     },
     [](const AdminLimits& limits, CORBA::Any& any) { any <<= CORBA::Long(limits.maxConsumers); }},
    {MaxSuppliers,
     [](const CORBA::Any& any, AdminLimits& limits) {
         return takeNumber<CORBA::Long>(any, 0, kMost, limits.maxSuppliers);
     },
     [](const AdminLimits& limits, CORBA::Any& any) { any <<= CORBA::Long(limits.maxSuppliers); }},
    {RejectNewEvents, [](const CORBA::Any& any, AdminLimits&) { return requireFalse(any); },
     [](const AdminLimits&, CORBA::Any& any) { any <<= CORBA::Any::from_boolean(false); }},
};

/// Apply the wanted properties one by one and return the errors of those that do not fit.
template <class Table, class Values>
PropertyErrorSeq apply(const Table& table, const PropertySeq& wanted, Values& values) {
    PropertyErrorSeq errors;
    for (CORBA::ULong i = 0; i < wanted.length(); ++i) {
        const char* name = wanted[i].name.in();
        const auto entry =
            std::find_if(std::begin(table), std::end(table),
                         [name](const auto& each) { return std::strcmp(each.name, name) == 0; });
        std::optional<Problem> problem;
        if (entry == std::end(table))
            problem =
                Problem{isNamedByTheStandard(name) ? UNSUPPORTED_PROPERTY : BAD_PROPERTY, {}, {}};
        else
            problem = entry->take(wanted[i].value, values);
        if (!problem)
            continue;
        const CORBA::ULong at = errors.length();
        errors.length(at + 1);
        errors[at].code = problem->code;
        errors[at].name = CORBA::string_dup(name);
        errors[at].available_range.low_val = problem->low;
        errors[at].available_range.high_val = problem->high;
    }
    return errors;
}

template <class Table, class Values>
PropertySeq* listed(const Table& table, const Values& values) {
    PropertySeq_var properties = new PropertySeq;
    properties->length(static_cast<CORBA::ULong>(std::size(table)));
    CORBA::ULong i = 0;
    for (const auto& each : table) {
        properties[i].name = CORBA::string_dup(each.name);
        each.give(values, properties[i].value);
        ++i;
    }
    return properties._retn();
}

Qos withChanges(const Qos& qos, const QoSProperties& wanted, unsigned sides) {
    Qos result = qos;
    const PropertyErrorSeq errors = apply(qualitiesOf(sides), wanted, result);
    if (errors.length() != 0)
        throw UnsupportedQoS(errors);
    return result;
}

bool isAmong(const QoSProperties& wanted, const char* name) {
    for (CORBA::ULong i = 0; i < wanted.length(); ++i) {
        if (std::strcmp(wanted[i].name.in(), name) == 0)
            return true;
    }
    return false;
}

NamedPropertyRangeSeq* othersThan(const QoSProperties& wanted, unsigned sides) {
    NamedPropertyRangeSeq_var ranges = new NamedPropertyRangeSeq;
    for (const Quality& each : qualitiesOf(sides)) {
        if (each.range == nullptr || isAmong(wanted, each.name))
            continue;
        const CORBA::ULong at = ranges->length();
        ranges->length(at + 1);
        ranges[at].name = CORBA::string_dup(each.name);
        ranges[at].range = each.range();
    }
    return ranges._retn();
}

}  // namespace

milliseconds fromWireTime(std::uint64_t hundredNs) {
    return milliseconds((std::min<std::uint64_t>(hundredNs, kLongestTime) + kUnitsPerMs - 1) /
                        kUnitsPerMs);
}

Qos changedQos(const Qos& qos, const QoSProperties& wanted, QosSide side) {
    return withChanges(qos, wanted, maskOf(side));
}

QoSProperties* asProperties(const Qos& qos, QosSide side) {
    return listed(qualitiesOf(maskOf(side)), qos);
}

NamedPropertyRangeSeq* availableQos(const Qos& qos, const QoSProperties& wanted, QosSide side) {
    changedQos(qos, wanted, side);
    return othersThan(wanted, maskOf(side));
}

NamedPropertyRangeSeq* availableEventQos(const Qos& qos, const QoSProperties& wanted) {
    withChanges(qos, wanted, kForEvents);
    return othersThan(wanted, kForEvents);
}

QueueRules rulesOf(const Qos& qos) {
    QueueRules rules;
    if (qos.orderPolicy == PriorityOrder)
        rules.order = Order::Priority;
    else if (qos.orderPolicy == DeadlineOrder)
        rules.order = Order::Deadline;
    if (qos.discardPolicy == LifoOrder)
        rules.discard = Discard::Newest;
    else if (qos.discardPolicy == PriorityOrder)
        rules.discard = Discard::LowestPriority;
    else if (qos.discardPolicy == DeadlineOrder)
        rules.discard = Discard::SoonestDeadline;
    rules.priority = qos.priority;
    rules.timeout = qos.timeout;
    rules.heedsStop = qos.stopTimeSupported;
    return rules;
}

EventDefaults eventDefaultsOf(const Qos& qos) {
    EventDefaults defaults;
    if (qos.priority != DefaultPriority)
        defaults.qos.priority = qos.priority;
    if (qos.timeout.count() > 0)
        defaults.qos.timeout = qos.timeout;
    defaults.heedsStop = qos.stopTimeSupported;
    return defaults;
}

AdminLimits changedLimits(const AdminLimits& limits, const AdminProperties& wanted) {
    AdminLimits changed = limits;
    const PropertyErrorSeq errors = apply(kLimits, wanted, changed);
    if (errors.length() != 0)
        throw UnsupportedAdmin(errors);
    return changed;
}

AdminProperties* asProperties(const AdminLimits& limits) {
    return listed(kLimits, limits);
}

}  // namespace kelp::notification
