#pragma once

#include <kelp/admin/registry.h>
#include <kelp/alarms/active_alarm.h>

#include <cstdint>
#include <string>

namespace kelp::ems {

/// An active alarm for operators: the fields of its last event under their names in the standard,
/// and raisedTime, reportedTime, repeats, isFlapping, isAcknowledged. Once it was acknowledged also
/// acknowledgedBy, acknowledgedTime and notepad. Times are in the layout for the NMS. A missing
/// neTime is filled in as it is for the NMS.
admin::Json viewOf(const alarms::ActiveAlarm& entry);

/// An alarm that is over: as it was before the end, with endTime and endNotificationId.
admin::Json viewOf(const alarms::PastAlarm& past);

/// A time of the list in the layout for the NMS.
std::string timeText(std::int64_t microseconds);

}  // namespace kelp::ems
