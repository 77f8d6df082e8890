#pragma once

#include <kelp/admin/registry.h>

#include <vector>

#include "alarms/alarm.h"

namespace kelp::ems {

/// The alarms of a request: one object, or an array of them. Its keys are the fields' names in the
/// standard, enumerators are written by theirs ("PS_MAJOR"), and a name is an object {"EMS": "...",
/// ...} in its order or an array of {"name": "...", "value": "..."}. objectName, probableCause and
/// perceivedSeverity must be there. What is missing besides: nativeEMSName is the value of the
/// name's last component, nativeProbableCause the probable cause, objectType follows from the
/// name's last component. Throws admin::RequestError, which names the alarm (in an array) and the
/// key, for the first thing that is wrong.
std::vector<Alarm> readAlarms(const admin::Json& request);

}  // namespace kelp::ems
