#include "qos.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>

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

/// Takes a number between the two into `into`.
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

std::optional<Problem> takeTime(const CORBA::Any& any, milliseconds& into) {
    const std::uint64_t most = kUnitsPerMs * static_cast<std::uint64_t>(kMost);
    CORBA::ULongLong value = 0;
    if (!(any >>= value))
        return outOf<CORBA::ULongLong>(BAD_TYPE, 0, most);
    if (value > most)
        return outOf<CORBA::ULongLong>(BAD_VALUE, 0, most);
    // a time below a millisecond is one, not none
    into = milliseconds((value + kUnitsPerMs - 1) / kUnitsPerMs);
    return std::nullopt;
}

/// A policy that exists and is not offered is unsupported, not bad.
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

/// What the channel does anyway may be asked for; the other values are unsupported.
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

struct Quality {
    const char* name;
    std::optional<Problem> (*take)(const CORBA::Any& value, Qos& into);
    void (*give)(const Qos& from, CORBA::Any& value);
};

const Quality kQualities[] = {
    {EventReliability, [](const CORBA::Any& any, Qos&) { return requireBestEffort(any); },
     [](const Qos&, CORBA::Any& any) { any <<= BestEffort; }},
    {ConnectionReliability, [](const CORBA::Any& any, Qos&) { return requireBestEffort(any); },
     [](const Qos&, CORBA::Any& any) { any <<= BestEffort; }},
    {StartTimeSupported, [](const CORBA::Any& any, Qos&) { return requireFalse(any); },
     [](const Qos&, CORBA::Any& any) { any <<= CORBA::Any::from_boolean(false); }},
    {StopTimeSupported, [](const CORBA::Any& any, Qos&) { return requireFalse(any); },
     [](const Qos&, CORBA::Any& any) { any <<= CORBA::Any::from_boolean(false); }},
    {MaxEventsPerConsumer,
     [](const CORBA::Any& any, Qos& qos) {
         return takeNumber<CORBA::Long>(any, 0, kMost, qos.maxEventsPerConsumer);
     },
     [](const Qos& qos, CORBA::Any& any) { any <<= CORBA::Long(qos.maxEventsPerConsumer); }},
    {OrderPolicy,
     [](const CORBA::Any& any, Qos& qos) {
         return takeOrder(any, {AnyOrder, FifoOrder}, qos.orderPolicy);
     },
     [](const Qos& qos, CORBA::Any& any) { any <<= CORBA::Short(qos.orderPolicy); }},
    {DiscardPolicy,
     [](const CORBA::Any& any, Qos& qos) {
         return takeOrder(any, {AnyOrder, FifoOrder, LifoOrder}, qos.discardPolicy);
     },
     [](const Qos& qos, CORBA::Any& any) { any <<= CORBA::Short(qos.discardPolicy); }},
    {MaximumBatchSize,
     [](const CORBA::Any& any, Qos& qos) {
         return takeNumber<CORBA::Long>(any, 1, kMostBatch, qos.maximumBatchSize);
     },
     [](const Qos& qos, CORBA::Any& any) { any <<= CORBA::Long(qos.maximumBatchSize); }},
    {PacingInterval, [](const CORBA::Any& any, Qos& qos) { return takeTime(any, qos.pacingInterval); },
     [](const Qos& qos, CORBA::Any& any) {
         any <<= CORBA::ULongLong(static_cast<std::uint64_t>(qos.pacingInterval.count()) * kUnitsPerMs);
     }},
    {Timeout, [](const CORBA::Any& any, Qos& qos) { return takeTime(any, qos.timeout); },
     [](const Qos& qos, CORBA::Any& any) {
         any <<= CORBA::ULongLong(static_cast<std::uint64_t>(qos.timeout.count()) * kUnitsPerMs);
     }},
};

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
     [](const AdminLimits& limits, CORBA::Any& any) { any <<= CORBA::Long(limits.maxQueueLength); }},
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

/// Applies the wanted properties one by one; the errors of all that do not fit.
template <class Table, class Values>
PropertyErrorSeq apply(const Table& table, const PropertySeq& wanted, Values& values) {
    PropertyErrorSeq errors;
    for (CORBA::ULong i = 0; i < wanted.length(); ++i) {
        const char* name = wanted[i].name.in();
        const auto entry = std::find_if(std::begin(table), std::end(table), [name](const auto& each) {
            return std::strcmp(each.name, name) == 0;
        });
        std::optional<Problem> problem;
        if (entry == std::end(table))
            problem = Problem{UNSUPPORTED_PROPERTY, {}, {}};
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

}  // namespace

Qos changedQos(const Qos& qos, const QoSProperties& wanted) {
    Qos changed = qos;
    const PropertyErrorSeq errors = apply(kQualities, wanted, changed);
    if (errors.length() != 0)
        throw UnsupportedQoS(errors);
    return changed;
}

QoSProperties* asProperties(const Qos& qos) {
    return listed(kQualities, qos);
}

NamedPropertyRangeSeq* availableQos(const Qos& qos, const QoSProperties& wanted) {
    changedQos(qos, wanted);
    const auto range = [](const char* name, const CORBA::Any& low, const CORBA::Any& high) {
        NamedPropertyRange named;
        named.name = CORBA::string_dup(name);
        named.range.low_val = low;
        named.range.high_val = high;
        return named;
    };
    const CORBA::ULongLong longest = kUnitsPerMs * static_cast<std::uint64_t>(kMost);
    const NamedPropertyRange all[] = {
        range(MaxEventsPerConsumer, anyOf<CORBA::Long>(0), anyOf<CORBA::Long>(kMost)),
        range(OrderPolicy, anyOf<CORBA::Short>(AnyOrder), anyOf<CORBA::Short>(FifoOrder)),
        range(DiscardPolicy, anyOf<CORBA::Short>(AnyOrder), anyOf<CORBA::Short>(LifoOrder)),
        range(MaximumBatchSize, anyOf<CORBA::Long>(1), anyOf<CORBA::Long>(kMostBatch)),
        range(PacingInterval, anyOf<CORBA::ULongLong>(0), anyOf<CORBA::ULongLong>(longest)),
        range(Timeout, anyOf<CORBA::ULongLong>(0), anyOf<CORBA::ULongLong>(longest)),
    };
    NamedPropertyRangeSeq_var ranges = new NamedPropertyRangeSeq;
    for (const NamedPropertyRange& each : all) {
        bool asked = false;
        for (CORBA::ULong i = 0; i < wanted.length(); ++i)
            asked = asked || std::strcmp(wanted[i].name.in(), each.name.in()) == 0;
        if (asked)
            continue;
        ranges->length(ranges->length() + 1);
        ranges[ranges->length() - 1] = each;
    }
    return ranges._retn();
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
