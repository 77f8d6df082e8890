#pragma once

#include <kelp/util/export.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace kelp::notification {

/// What happened to the events for one consumer. At any time sent = delivered + lost + queued.
struct KELP_EXPORT ConsumerCounts {
    std::int32_t proxy = 0;       ///< the proxy's id in its admin
    std::int32_t admin = 0;       ///< the admin's id in the channel
    std::uint64_t sent = 0;       ///< events that passed the consumer's filters
    std::uint64_t delivered = 0;  ///< events for which the consumer's operation has returned
    std::uint64_t lost = 0;  ///< discarded, expired, refused by the consumer, or dropped with it
    /// Lost events that expired, or did not fit a smaller limit that the consumer has set.
    std::uint64_t lostByOwnLimits = 0;
    std::size_t queued = 0;      ///< events that wait, including those being delivered
    std::size_t queueLimit = 0;  ///< maximum number of events that may wait
    std::uint64_t failures = 0;  ///< calls that timed out or did not reach the consumer
    /// False from a failed call until the consumer answers again. For a consumer that pulls: false
    /// while events wait and it has not pulled for DeliverySettings::pushTimeout.
    bool answers = true;
    bool suspended = false;               ///< by suspend_connection
    std::chrono::milliseconds oldest{0};  ///< age of the oldest event that waits
    std::string lastError;  ///< description of the last failed call; empty if no call has failed
};

}  // namespace kelp::notification
