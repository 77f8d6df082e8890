#pragma once

#include <cos/CosNotification.h>

#include <string>
#include <vector>

#include "alarm_list.h"

/// Return the fields of an alarm that this NMS uses. Those that it does not know are passed over.
Alarm fieldsOf(const CosNotification::StructuredEvent& event);

/// Return the alarms as one line of JSON.
std::string jsonOf(const std::vector<Alarm>& alarms);
