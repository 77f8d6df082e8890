#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kelp::bench {

/// An alarm of AlarmPoster in a push.
struct PushedAlarm {
    std::uint64_t notificationId = 0;
    std::int64_t sent = 0;  ///< stampNow() at the start of its intake
};

/// The operation that a request calls. Throws std::runtime_error if it is no complete request.
std::string operationOf(const std::string& request);

/// Find the alarms of AlarmPoster in a request for push_structured_events, in their order, without
/// decoding the events: by the names of the two fields that matter. Throws std::runtime_error if
/// not every event of the batch has a notification id, since an event would not be noticed then.
std::vector<PushedAlarm> alarmsIn(const std::string& request);

}  // namespace kelp::bench
