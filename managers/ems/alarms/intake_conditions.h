#pragma once

#include <kelp/admin/conditions.h>
#include <kelp/alarms/alarm_service.h>

#include <chrono>
#include <vector>

namespace kelp::ems {

/// What the operator should know about the intake of alarms: reports that were refused within the
/// last ten minutes before `now`.
std::vector<admin::Condition> intakeConditions(const alarms::ServiceCounts& counts,
                                               std::chrono::system_clock::time_point now);

}  // namespace kelp::ems
