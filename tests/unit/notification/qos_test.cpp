#include "delivery/qos.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace kelp::notification {
namespace {

using namespace CosNotification;

template <class Value>
PropertySeq property(const char* name, Value value) {
    PropertySeq properties;
    properties.length(1);
    properties[0].name = CORBA::string_dup(name);
    properties[0].value <<= value;
    return properties;
}

PropertySeq both(const PropertySeq& first, const PropertySeq& second) {
    PropertySeq all;
    all.length(2);
    all[0] = first[0];
    all[1] = second[0];
    return all;
}

/// Return "<code> <name>" for each error in order.
std::string errorsOf(const PropertySeq& wanted) {
    try {
        changedQos(Qos(), wanted);
        return "none";
    } catch (const UnsupportedQoS& unsupported) {
        std::string text;
        for (CORBA::ULong i = 0; i < unsupported.qos_err.length(); ++i)
            text += std::to_string(static_cast<int>(unsupported.qos_err[i].code)) + " " +
                    unsupported.qos_err[i].name.in() + ";";
        return text;
    }
}

std::string error(QoSError_code code, const char* name) {
    return std::to_string(static_cast<int>(code)) + " " + name + ";";
}

TEST(Qos, AcceptsEveryPropertyItOffers) {
    EXPECT_EQ(
        changedQos(Qos(), property(MaxEventsPerConsumer, CORBA::Long(7))).maxEventsPerConsumer, 7);
    EXPECT_EQ(changedQos(Qos(), property(DiscardPolicy, LifoOrder)).discardPolicy, LifoOrder);
    EXPECT_EQ(changedQos(Qos(), property(OrderPolicy, FifoOrder)).orderPolicy, FifoOrder);
    EXPECT_EQ(changedQos(Qos(), property(OrderPolicy, DeadlineOrder)).orderPolicy, DeadlineOrder);
    EXPECT_EQ(changedQos(Qos(), property(DiscardPolicy, PriorityOrder)).discardPolicy,
              PriorityOrder);
    EXPECT_EQ(changedQos(Qos(), property(Priority, CORBA::Short(-5))).priority, -5);
    EXPECT_EQ(changedQos(Qos(), property(MaximumBatchSize, CORBA::Long(50))).maximumBatchSize, 50);
    EXPECT_EQ(
        changedQos(Qos(), property(PacingInterval, CORBA::ULongLong(20000000))).pacingInterval,
        std::chrono::seconds(2));
    EXPECT_EQ(changedQos(Qos(), property(Timeout, CORBA::ULongLong(10000))).timeout,
              std::chrono::milliseconds(1));
    EXPECT_EQ(errorsOf(property(EventReliability, BestEffort)), "none");
    EXPECT_EQ(errorsOf(property(ConnectionReliability, BestEffort)), "none");
}

TEST(Qos, TimeBelowAMillisecondStaysATime) {
    EXPECT_EQ(changedQos(Qos(), property(Timeout, CORBA::ULongLong(1))).timeout,
              std::chrono::milliseconds(1));
}

TEST(Qos, RefusesAnUnknownNameByName) {
    EXPECT_EQ(errorsOf(property("MaxEventsPerConsummer", CORBA::Long(7))),
              error(BAD_PROPERTY, "MaxEventsPerConsummer"));
    EXPECT_EQ(errorsOf(property(StartTime, CORBA::ULongLong(1))),
              error(UNSUPPORTED_PROPERTY, StartTime));
    EXPECT_EQ(errorsOf(property(StopTime, CORBA::ULongLong(1))),
              error(UNSUPPORTED_PROPERTY, StopTime));
    EXPECT_EQ(errorsOf(property(StopTimeSupported, CORBA::ULongLong(1))),
              error(BAD_TYPE, StopTimeSupported));
}

TEST(Qos, RefusesAnotherTypeAValueOutOfRangeAndAPolicyThatIsNotOffered) {
    EXPECT_EQ(errorsOf(property(MaxEventsPerConsumer, CORBA::Short(7))),
              error(BAD_TYPE, MaxEventsPerConsumer));
    EXPECT_EQ(errorsOf(property(MaxEventsPerConsumer, CORBA::Long(-1))),
              error(BAD_VALUE, MaxEventsPerConsumer));
    EXPECT_EQ(errorsOf(property(MaximumBatchSize, CORBA::Long(0))),
              error(BAD_VALUE, MaximumBatchSize));
    EXPECT_EQ(errorsOf(property(OrderPolicy, LifoOrder)), error(UNSUPPORTED_VALUE, OrderPolicy));
    EXPECT_EQ(errorsOf(property(Priority, CORBA::Long(1))), error(BAD_TYPE, Priority));
    EXPECT_EQ(errorsOf(property(Priority, CORBA::Short(-32768))), error(BAD_VALUE, Priority));
    EXPECT_EQ(errorsOf(property(OrderPolicy, CORBA::Short(9))), error(BAD_VALUE, OrderPolicy));
    EXPECT_EQ(errorsOf(property(EventReliability, Persistent)),
              error(UNSUPPORTED_VALUE, EventReliability));
    EXPECT_EQ(errorsOf(property(PacingInterval, "soon")), error(BAD_TYPE, PacingInterval));
}

TEST(Qos, NamesEveryErrorAndChangesNothing) {
    const PropertySeq wanted =
        both(property("Nonsense", CORBA::Long(1)), property(MaximumBatchSize, CORBA::Long(0)));
    EXPECT_EQ(errorsOf(wanted),
              error(BAD_PROPERTY, "Nonsense") + error(BAD_VALUE, MaximumBatchSize));
    Qos qos;
    qos.maximumBatchSize = 3;
    EXPECT_THROW(qos = changedQos(qos, wanted), UnsupportedQoS);
    EXPECT_EQ(qos.maximumBatchSize, 3);
}

TEST(Qos, IsListedAndTakenBack) {
    Qos qos;
    qos.maxEventsPerConsumer = 5;
    qos.pacingInterval = std::chrono::milliseconds(1500);
    const QoSProperties_var listed = asProperties(qos);
    const Qos back = changedQos(Qos(), listed.in());
    EXPECT_EQ(back.maxEventsPerConsumer, 5);
    EXPECT_EQ(back.pacingInterval, std::chrono::milliseconds(1500));
}

TEST(Qos, AvailableRangesAreThoseOfTheOthers) {
    NamedPropertyRangeSeq_var ranges =
        availableQos(Qos(), property(MaximumBatchSize, CORBA::Long(5)));
    bool timeout = false;
    for (CORBA::ULong i = 0; i < ranges->length(); ++i) {
        EXPECT_STRNE(ranges[i].name.in(), MaximumBatchSize);
        timeout = timeout || std::string(ranges[i].name.in()) == Timeout;
    }
    EXPECT_TRUE(timeout);
    EXPECT_THROW(availableQos(Qos(), property("Nonsense", CORBA::Long(1))), UnsupportedQoS);
}

TEST(Qos, OfASupplierIsOnlyWhatItHonours) {
    const auto errors = [](const PropertySeq& wanted) {
        try {
            changedQos(Qos(), wanted, QosSide::Supplier);
            return std::string("none");
        } catch (const UnsupportedQoS& unsupported) {
            return error(unsupported.qos_err[0].code, unsupported.qos_err[0].name.in());
        }
    };
    EXPECT_EQ(errors(property(Priority, CORBA::Short(4))), "none");
    EXPECT_EQ(errors(property(Timeout, CORBA::ULongLong(4))), "none");
    EXPECT_EQ(errors(property(MaximumBatchSize, CORBA::Long(4))),
              error(UNSUPPORTED_PROPERTY, MaximumBatchSize));
    EXPECT_EQ(errors(property(MaxEventsPerConsumer, CORBA::Long(4))),
              error(UNSUPPORTED_PROPERTY, MaxEventsPerConsumer));
    EXPECT_EQ(errors(property("Nonsense", CORBA::Long(4))), error(BAD_PROPERTY, "Nonsense"));
    QoSProperties_var listed = asProperties(Qos(), QosSide::Supplier);
    for (CORBA::ULong i = 0; i < listed->length(); ++i)
        EXPECT_STRNE(listed[i].name.in(), OrderPolicy);
    EXPECT_NO_THROW(changedQos(Qos(), listed.in(), QosSide::Supplier));
}

TEST(Qos, OfAnEventIsOnlyWhatItHonours) {
    const auto ranges = [](const PropertySeq& wanted) {
        NamedPropertyRangeSeq_var found = availableEventQos(Qos(), wanted);
        std::string names;
        for (CORBA::ULong i = 0; i < found->length(); ++i)
            names += std::string(found[i].name.in()) + ";";
        return names;
    };
    EXPECT_EQ(ranges(PropertySeq()), "Priority;Timeout;");
    EXPECT_EQ(ranges(property(Priority, CORBA::Short(1))), "Timeout;");
    EXPECT_EQ(ranges(property(EventReliability, BestEffort)), "Priority;Timeout;");
    for (const char* refused : {OrderPolicy, MaximumBatchSize, PacingInterval, StartTime, StopTime})
        EXPECT_THROW(ranges(property(refused, CORBA::Short(1))), UnsupportedQoS) << refused;
    EXPECT_THROW(ranges(property("Nonsense", CORBA::Short(1))), UnsupportedQoS);
}

TEST(Qos, SaysHowEventsWait) {
    Qos qos;
    EXPECT_EQ(rulesOf(qos).order, Order::Arrival);
    EXPECT_EQ(rulesOf(qos).discard, Discard::Oldest);
    qos.orderPolicy = PriorityOrder;
    qos.discardPolicy = DeadlineOrder;
    EXPECT_EQ(rulesOf(qos).order, Order::Priority);
    EXPECT_EQ(rulesOf(qos).discard, Discard::SoonestDeadline);
    qos.orderPolicy = DeadlineOrder;
    qos.discardPolicy = PriorityOrder;
    EXPECT_EQ(rulesOf(qos).order, Order::Deadline);
    EXPECT_EQ(rulesOf(qos).discard, Discard::LowestPriority);
    qos.discardPolicy = LifoOrder;
    EXPECT_EQ(rulesOf(qos).discard, Discard::Newest);
    EXPECT_FALSE(eventDefaultsOf(qos).qos.priority);
    EXPECT_TRUE(eventDefaultsOf(qos).heedsStop);
    EXPECT_TRUE(rulesOf(qos).heedsStop);
    qos.stopTimeSupported = false;
    EXPECT_FALSE(eventDefaultsOf(qos).heedsStop);
    EXPECT_FALSE(rulesOf(qos).heedsStop);
    qos.priority = 3;
    qos.timeout = std::chrono::seconds(1);
    EXPECT_EQ(eventDefaultsOf(qos).qos.priority, 3);
    EXPECT_EQ(eventDefaultsOf(qos).qos.timeout, std::chrono::seconds(1));
}

TEST(Qos, WireTimesBeyondTheLongestAreTheLongest) {
    EXPECT_EQ(fromWireTime(std::numeric_limits<std::uint64_t>::max()),
              std::chrono::milliseconds(2147483647));
    EXPECT_EQ(fromWireTime(0), std::chrono::milliseconds(0));
}

TEST(AdminLimits, AreAcceptedListedAndRefusedByName) {
    EXPECT_EQ(changedLimits(AdminLimits(), property(MaxConsumers, CORBA::Long(3))).maxConsumers, 3);
    EXPECT_EQ(changedLimits(AdminLimits(), property(MaxSuppliers, CORBA::Long(4))).maxSuppliers, 4);
    EXPECT_EQ(changedLimits(AdminLimits(), property(MaxQueueLength, CORBA::Long(5))).maxQueueLength,
              5);
    EXPECT_THROW(changedLimits(AdminLimits(), property(MaxConsumers, CORBA::Long(-3))),
                 UnsupportedAdmin);
    EXPECT_THROW(changedLimits(AdminLimits(), property(MaxConsumers, "many")), UnsupportedAdmin);
    EXPECT_THROW(changedLimits(AdminLimits(), property("Nonsense", CORBA::Long(1))),
                 UnsupportedAdmin);
    PropertySeq rejecting = property(RejectNewEvents, CORBA::Long(1));
    rejecting[0].value <<= CORBA::Any::from_boolean(true);
    EXPECT_THROW(changedLimits(AdminLimits(), rejecting), UnsupportedAdmin);
    const AdminProperties_var listed = asProperties(AdminLimits());
    EXPECT_EQ(listed->length(), 4u);
}

}  // namespace
}  // namespace kelp::notification
