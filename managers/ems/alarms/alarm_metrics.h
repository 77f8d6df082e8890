#pragma once

#include <kelp/admin/metrics.h>
#include <kelp/alarms/alarm_service.h>

#include <vector>

namespace kelp::ems {

/// The list of alarms and their intake as metrics.
std::vector<admin::Metric> alarmMetrics(const alarms::ServiceCounts& counts,
                                        const alarms::ListState& list);

}  // namespace kelp::ems
