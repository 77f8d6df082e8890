#pragma once

#include <kelp/alarms/alarm_service.h>
#include <mtnm/globaldefs.h>

#include <memory>

namespace kelp::managers {

/// The EMS has no list of alarms: the bundle that keeps it is not loaded, or has ended.
inline constexpr unsigned long kNoAlarmList = 0x411800EF;

/// Return the list of alarms of this process. Refuse with kNoAlarmList if there is none.
std::shared_ptr<alarms::AlarmService> alarmList();

/// Convert a name. Every name can be converted, also one that no object has.
alarms::Name toAlarmName(const globaldefs::NamingAttributes_T& attributes);

}  // namespace kelp::managers
