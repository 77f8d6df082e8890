#pragma once

#include <cos/CosNotification.h>

#include <string>

#include "alarms/alarm.h"

namespace kelp::ems {

/// Fill `event` with the alarm as an NT_ALARM (TMF 814), with its fields in the standard's order.
/// Optional fields are always present, except those that only X.733 alarms may carry:
/// BackedUpStatus, BackUpObject, TrendIndication, CorrelatedNotifications and MonitoredAttributes.
/// The event is filled in place, because copying an Any needs an ORB.
void fillAlarmEvent(CosNotification::StructuredEvent& event, const Alarm& alarm,
                    const std::string& notificationId, const std::string& emsTime);

}  // namespace kelp::ems
