#pragma once

#include <cos/CosNotification.h>

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace kelp::notification {

/// Qualities of service of a channel, an admin or a proxy, each taking over those of the one above when it is
/// made (Notification Service 2.5.5). Times are in milliseconds here and in 100 ns on the wire.
struct Qos {
    std::int32_t maxEventsPerConsumer = 0;  ///< 0: the channel's limit
    std::int16_t discardPolicy = CosNotification::AnyOrder;
    std::int16_t orderPolicy = CosNotification::AnyOrder;
    std::int32_t maximumBatchSize = 1;
    std::chrono::milliseconds pacingInterval{0};
    std::chrono::milliseconds timeout{0};
};

/// The qualities with the wanted changes. Throws UnsupportedQoS that names every property that is unknown,
/// has another type or a value outside its range; nothing is changed then.
Qos changedQos(const Qos& qos, const CosNotification::QoSProperties& wanted);
CosNotification::QoSProperties* asProperties(const Qos& qos);
/// The ranges that properties other than those asked for could have; throws as changedQos does.
CosNotification::NamedPropertyRangeSeq* availableQos(const Qos& qos,
                                                     const CosNotification::QoSProperties& wanted);

/// Limits of the channel as a whole (Notification Service 2.5.7).
struct AdminLimits {
    std::int32_t maxQueueLength =
        0;  ///< most events that one consumer's queue may hold; 0: the configured limit
    std::int32_t maxConsumers = 0;  ///< 0: no limit
    std::int32_t maxSuppliers = 0;  ///< 0: no limit
};

/// Throws UnsupportedAdmin likewise.
AdminLimits changedLimits(const AdminLimits& limits, const CosNotification::AdminProperties& wanted);
CosNotification::AdminProperties* asProperties(const AdminLimits& limits);

}  // namespace kelp::notification
