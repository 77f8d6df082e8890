#pragma once

#include <kelp/util/export.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace kelp::notification {

/// What became of the events for one consumer. At any time sent = delivered + lost + queued.
struct KELP_EXPORT ConsumerCounts {
    std::int32_t proxy = 0;       ///< the proxy's id in its admin
    std::int32_t admin = 0;       ///< the admin's id in the channel
    std::uint64_t sent = 0;       ///< passed the consumer's filters
    std::uint64_t delivered = 0;  ///< the consumer's operation has returned
    std::uint64_t lost = 0;  ///< discarded, expired, refused by the consumer, or dropped with it
    std::uint64_t lostByOwnLimits = 0;  ///< of these, expired or over a smaller limit of its own
    std::size_t queued = 0;             ///< waiting, the one being delivered included
    std::size_t queueLimit = 0;         ///< most that may wait
    std::uint64_t failures = 0;         ///< calls that timed out or found nobody
    /// False from a failed call on, until the consumer answers again; for one that pulls, while
    /// events wait and it has not pulled for DeliverySettings::pushTimeout.
    bool answers = true;
    bool suspended = false;               ///< by suspend_connection
    std::chrono::milliseconds oldest{0};  ///< age of the oldest event that waits
    std::string lastError;                ///< of the last failed call, in words; empty before one
};

}  // namespace kelp::notification
