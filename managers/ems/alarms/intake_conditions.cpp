#include "alarms/intake_conditions.h"

#include <kelp/util/trace_log.h>

#include <string>

namespace kelp::ems {

namespace {

constexpr std::chrono::minutes kShownFor{10};
constexpr std::size_t kReasonBytesMax = 200;

}  // namespace

std::vector<admin::Condition> intakeConditions(const alarms::ServiceCounts& counts,
                                               std::chrono::system_clock::time_point now) {
    if (!counts.lastRefusal || now - counts.lastRefusal->time > kShownFor)
        return {};
    return {
        {"intake-refused", admin::Severity::Critical,
         "reports of alarms were refused, " + std::to_string(counts.refused) +
             " in all, the last because " +
             util::escaped(counts.lastRefusal->reason, kReasonBytesMax),
         counts.lastRefusal->time,
         "free space on the disk of the change log, raise [alarms] active_max, or slow down the "
         "adapters; they must submit the reports again"}};
}

}  // namespace kelp::ems
