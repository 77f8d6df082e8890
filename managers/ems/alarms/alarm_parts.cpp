#include "alarms/alarm_parts.h"

#include <kelp/alarms/enum_names.h>
#include <kelp/alarms/list_state.h>
#include <kelp/oplog/log_entry.h>
#include <kelp/util/trace_log.h>

#include <chrono>

namespace kelp::ems {

namespace {

using admin::Json;

constexpr std::size_t kRefusalBytesShown = 300;

}  // namespace

Json alarmsPart(const alarms::ListState& list) {
    Json active = Json::object();
    for (std::size_t i = 0; i < alarms::kSeverities; ++i) {
        if (static_cast<alarms::Severity>(i) != alarms::Severity::Cleared)
            active[alarms::severityNames().at(i)] = list.counts().at(i);
    }
    return {{"active", active}, {"unacknowledged", list.unacknowledged()}};
}

Json intakePart(const alarms::ServiceCounts& counts) {
    Json sources = Json::array();
    for (const alarms::SourceCounts& each : counts.sources)
        sources.push_back({{"source", each.source},
                           {"accepted", each.accepted},
                           {"known", each.known},
                           {"refused", each.refused}});
    Json part = {{"sources", sources}, {"backlog", counts.backlog}, {"unsent", counts.unsent}};
    if (counts.lastRefusal)
        part["lastRefusal"] = {
            {"at", oplog::timeText(
                       std::chrono::floor<std::chrono::milliseconds>(counts.lastRefusal->time))},
            {"reason", util::escaped(counts.lastRefusal->reason, kRefusalBytesShown)}};
    return part;
}

}  // namespace kelp::ems
