#include "alarms/alarm_metrics.h"

#include <kelp/alarms/enum_names.h>
#include <kelp/alarms/list_state.h>

#include <cstdint>
#include <utility>

namespace kelp::ems {

namespace {

using admin::Metric;
using admin::MetricKind;

Metric gauge(const char* name, const char* help, std::size_t value) {
    return {name, help, MetricKind::Gauge, {{static_cast<double>(value)}}};
}

}  // namespace

std::vector<Metric> alarmMetrics(const alarms::ServiceCounts& counts,
                                 const alarms::ListState& list) {
    Metric active{"kelp_alarms_active", "Active alarms, by severity"};
    for (std::size_t i = 0; i < alarms::kSeverities; ++i) {
        if (static_cast<alarms::Severity>(i) != alarms::Severity::Cleared)
            active.samples.push_back({static_cast<double>(list.counts().at(i)),
                                      {{"severity", alarms::severityNames().at(i)}}});
    }
    Metric intake{"kelp_alarm_changes_total",
                  "Changes of alarms that were submitted, by source and outcome",
                  MetricKind::Counter};
    for (const alarms::SourceCounts& each : counts.sources) {
        const std::pair<const char*, std::uint64_t> outcomes[] = {
            {"accepted", each.accepted}, {"known", each.known}, {"refused", each.refused}};
        for (const auto& [outcome, count] : outcomes)
            intake.samples.push_back(
                {static_cast<double>(count), {{"source", each.source}, {"outcome", outcome}}});
    }
    return {std::move(active),
            gauge("kelp_alarms_unacknowledged", "Active alarms that nobody has acknowledged",
                  list.unacknowledged()),
            std::move(intake),
            gauge("kelp_alarm_backlog", "Changes that wait to be written", counts.backlog),
            gauge("kelp_alarm_events_unsent", "Events that wait for the channel", counts.unsent)};
}

}  // namespace kelp::ems
