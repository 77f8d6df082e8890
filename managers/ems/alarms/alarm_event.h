#pragma once

#include <cos/CosNotification.h>

#include <string>

#include "alarms/alarm.h"

namespace kelp::ems {

/// Makes `event` the NT_ALARM of the alarm (TMF 814), with its fields in the standard's order.
/// Those that the standard lets be absent are there always, but for what X.733 alarms alone may
/// tell: BackedUpStatus, BackUpObject, TrendIndication, CorrelatedNotifications and
/// MonitoredAttributes. Fills an event in place, since an Any can be copied only while there is an
/// ORB.
void fillAlarmEvent(CosNotification::StructuredEvent& event, const Alarm& alarm,
                    const std::string& notificationId, const std::string& emsTime);

}  // namespace kelp::ems
