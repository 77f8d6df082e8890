#pragma once

#include <cos/CosNotification.h>
#include <kelp/alarms/alarm.h>

#include <cstdint>
#include <string>

namespace kelp::managers {

/// Fill `event` with the alarm as an NT_ALARM (TMF 814), with its fields in the standard's order.
/// Optional fields are always present, except those that only X.733 alarms may carry:
/// BackedUpStatus, BackUpObject, TrendIndication, CorrelatedNotifications and MonitoredAttributes.
/// A missing `neTime` is `emsTime`, unless [notification] fill_ne_time is off.
/// The event is filled in place, because copying an Any needs an ORB.
void fillAlarmEvent(CosNotification::StructuredEvent& event, const alarms::Alarm& alarm,
                    const std::string& notificationId, const std::string& emsTime);

/// The same from the numbers of an event or an entry of the alarm list. `emsTime` is in
/// microseconds since the epoch.
void fillAlarmEvent(CosNotification::StructuredEvent& event, const alarms::Alarm& alarm,
                    alarms::Position notificationId, std::int64_t emsTime);

}  // namespace kelp::managers
