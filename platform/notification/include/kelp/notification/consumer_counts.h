#pragma once

#include <kelp/util/export.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kelp::notification {

/// What happened to the events for one consumer. At any time sent = delivered + lost + queued.
struct KELP_EXPORT ConsumerCounts {
    std::int32_t proxy = 0;       ///< the proxy's id in its admin
    std::int32_t admin = 0;       ///< the admin's id in the channel
    std::string owner{};          ///< the log-in's id, or an address; empty: the EMS
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
    std::string lastError;     ///< description of the last failed call; empty if no call has failed
    std::size_t batchMax = 0;  ///< maximum number of events in one call; 0: no push consumer
    std::uint64_t pushCalls = 0;  ///< calls that delivered events
    /// Duration of such a call, and events in it. Recent calls count more. 0 before the first one.
    std::chrono::microseconds callDuration{0};
    double eventsPerCall = 0;
};

/// The sums over the consumers of one owner that have ended. sent = delivered + lost.
struct KELP_EXPORT EndedCounts {
    std::uint64_t sent = 0;
    std::uint64_t delivered = 0;
    std::uint64_t lost = 0;  ///< including events that still waited
};

/// What a consumer gets, as text.
struct KELP_EXPORT ConsumerSubscription {
    std::vector<std::string> types;  ///< that both its admin and its proxy let through
    /// Constraints of the proxy's and the admin's filters, of which one per list must match. Empty:
    /// there is no filter.
    std::vector<std::string> filters;
    std::vector<std::string> adminFilters;
    /// Whether an event may pass either list, instead of both.
    bool eitherFilter = false;
};

}  // namespace kelp::notification
