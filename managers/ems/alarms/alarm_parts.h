#pragma once

#include <kelp/admin/registry.h>
#include <kelp/alarms/alarm_service.h>

namespace kelp::ems {

/// The active alarms by severity.
admin::Json alarmsPart(const alarms::ListState& list);

/// What was submitted by which source, what waits, and the last refusal.
admin::Json intakePart(const alarms::ServiceCounts& counts);

}  // namespace kelp::ems
