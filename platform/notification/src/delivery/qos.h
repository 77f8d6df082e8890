#pragma once

#include <cos/CosNotification.h>

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "delivery/event_queue.h"

namespace kelp::notification {

/// Qualities of service of a channel, an admin or a proxy. A new admin starts with those of the
/// channel, a new proxy with those of its admin (Notification Service 2.5.5). Times are in
/// milliseconds here and in units of 100 ns on the wire.
struct Qos {
    std::int32_t maxEventsPerConsumer = 0;  ///< 0: the channel's limit
    std::int16_t discardPolicy = CosNotification::AnyOrder;
    std::int16_t orderPolicy = CosNotification::AnyOrder;
    std::int32_t maximumBatchSize = 1;
    std::chrono::milliseconds pacingInterval{0};
    std::int16_t priority = CosNotification::DefaultPriority;  ///< of events that bring none
    std::chrono::milliseconds timeout{0};  ///< of events that bring none; 0: they do not expire
    bool stopTimeSupported = true;         ///< whether the StopTime of events counts
};

/// The side that qualities belong to. A side has only those that mean something there: a supplier's
/// proxy, for example, has no queue.
enum class QosSide { Channel, Consumer, Supplier };

/// `qos` with the wanted changes. Throws UnsupportedQoS if any of them does not fit, and names
/// every property that is unknown (BAD_PROPERTY), not offered on this side (UNSUPPORTED_PROPERTY),
/// of another type, or outside its range.
Qos changedQos(const Qos& qos, const CosNotification::QoSProperties& wanted,
               QosSide side = QosSide::Consumer);
CosNotification::QoSProperties* asProperties(const Qos& qos, QosSide side = QosSide::Consumer);
/// The ranges that the properties not in `wanted` could have. Throws what changedQos throws.
CosNotification::NamedPropertyRangeSeq* availableQos(const Qos& qos,
                                                     const CosNotification::QoSProperties& wanted,
                                                     QosSide side = QosSide::Consumer);
/// The same for the header of a single event that passes a proxy with these qualities. A property
/// that they switch off is reported as UNAVAILABLE_PROPERTY.
CosNotification::NamedPropertyRangeSeq* availableEventQos(
    const Qos& qos, const CosNotification::QoSProperties& wanted);

/// Convert a time of the wire. A time below 1 ms becomes 1 ms, because 0 means no limit.
std::chrono::milliseconds fromWireTime(std::uint64_t hundredNs);

/// The queue's rules for a consumer with these qualities.
QueueRules rulesOf(const Qos& qos);
/// The defaults for events of a supplier with these qualities.
EventDefaults eventDefaultsOf(const Qos& qos);

/// Limits of the whole channel (Notification Service 2.5.7).
struct AdminLimits {
    std::int32_t maxQueueLength = 0;  ///< events in one consumer's queue; 0: the configured limit
    std::int32_t maxConsumers = 0;    ///< 0: no limit
    std::int32_t maxSuppliers = 0;    ///< 0: no limit
};

/// `limits` with the wanted changes. Throws UnsupportedAdmin if any of them does not fit.
AdminLimits changedLimits(const AdminLimits& limits,
                          const CosNotification::AdminProperties& wanted);
CosNotification::AdminProperties* asProperties(const AdminLimits& limits);

}  // namespace kelp::notification
