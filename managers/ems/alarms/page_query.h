#pragma once

#include <kelp/alarms/list_state.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <set>
#include <string>

namespace kelp::ems {

/// Maximum number of alarms of a page. 10,000 alarms with their usual fields are about 10 MiB of
/// JSON, which takes a fraction of a second.
inline constexpr std::size_t kPageAlarmsMax = 10'000;

/// Which alarms an operator wants to see: a page of a list at one position of the change log.
struct PageQuery {
    alarms::AlarmQuery alarms;
    // When the event was that put the alarm into the list: microseconds since the epoch.
    std::int64_t since = std::numeric_limits<std::int64_t>::min();
    std::int64_t until = std::numeric_limits<std::int64_t>::max();  ///< exclusive
    std::size_t limit = 1000;
    /// From the newest alarm to the oldest, instead of from the oldest to the newest.
    bool isNewestFirst = false;
    /// Only alarms whose notification id follows this one in that order; 0: all.
    alarms::Position after = 0;
    alarms::Position at = 0;  ///< the list as it was at this position; 0: now

    bool acceptsTime(std::int64_t time) const { return time >= since && time < until; }
};

/// The names of the parameters that readPageQuery() knows.
const std::set<std::string>& pageParameters();

/// Read the parameters of a query. Throws admin::RequestError for the first wrong value. The
/// sentence begins with the parameter.
PageQuery readPageQuery(const std::map<std::string, std::string>& parameters);

}  // namespace kelp::ems
