#pragma once

#include <cos/CosNotification.h>

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "delivery/event_queue.h"

namespace kelp::notification {

/// Qualities of service of a channel, an admin or a proxy, each taking over those of the one above
/// when it is made (Notification Service 2.5.5). Times are in milliseconds here and in 100 ns on
/// the wire.
struct Qos {
    std::int32_t maxEventsPerConsumer = 0;  ///< 0: the channel's limit
    std::int16_t discardPolicy = CosNotification::AnyOrder;
    std::int16_t orderPolicy = CosNotification::AnyOrder;
    std::int32_t maximumBatchSize = 1;
    std::chrono::milliseconds pacingInterval{0};
    std::int16_t priority = CosNotification::DefaultPriority;  ///< of events that bring none
    std::chrono::milliseconds timeout{0};                      ///< likewise
    bool stopTimeSupported = true;                             ///< the StopTime of events is heeded
};

/// Whose qualities they are. Each has only those that mean something there: a supplier's proxy has
/// no queue.
enum class QosSide { Channel, Consumer, Supplier };

/// The qualities with the wanted changes. Throws UnsupportedQoS that names every property that is
/// unknown (BAD_PROPERTY), is not offered on this side (UNSUPPORTED_PROPERTY), has another type or
/// a value outside its range; nothing is changed then.
Qos changedQos(const Qos& qos, const CosNotification::QoSProperties& wanted,
               QosSide side = QosSide::Consumer);
CosNotification::QoSProperties* asProperties(const Qos& qos, QosSide side = QosSide::Consumer);
/// The ranges that properties other than those asked for could have; throws as changedQos does.
CosNotification::NamedPropertyRangeSeq* availableQos(const Qos& qos,
                                                     const CosNotification::QoSProperties& wanted,
                                                     QosSide side = QosSide::Consumer);
/// The same for the header of a single event that passes a proxy with these qualities. A property
/// that they switch off is UNAVAILABLE_PROPERTY.
CosNotification::NamedPropertyRangeSeq* availableEventQos(
    const Qos& qos, const CosNotification::QoSProperties& wanted);

/// A time of the wire. One below a millisecond is a millisecond, not none.
std::chrono::milliseconds fromWireTime(std::uint64_t hundredNs);

/// How the events of a consumer with these qualities wait.
QueueRules rulesOf(const Qos& qos);
/// What events of a supplier with these qualities have when they bring nothing of their own.
EventDefaults eventDefaultsOf(const Qos& qos);

/// Limits of the channel as a whole (Notification Service 2.5.7).
struct AdminLimits {
    std::int32_t maxQueueLength =
        0;  ///< most events that one consumer's queue may hold; 0: the configured limit
    std::int32_t maxConsumers = 0;  ///< 0: no limit
    std::int32_t maxSuppliers = 0;  ///< 0: no limit
};

/// Throws UnsupportedAdmin likewise.
AdminLimits changedLimits(const AdminLimits& limits,
                          const CosNotification::AdminProperties& wanted);
CosNotification::AdminProperties* asProperties(const AdminLimits& limits);

}  // namespace kelp::notification
