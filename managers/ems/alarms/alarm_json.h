#pragma once

#include <kelp/admin/registry.h>

#include <vector>

#include "alarms/alarm.h"

namespace kelp::ems {

/// Read the alarms of a request: one object or an array of objects. Its keys are the names of the
/// fields in the standard. Enumerators are written by their names ("PS_MAJOR"). An object's name is
/// an object {"EMS": "...", ...} with its components in order, or an array of {"name": "...",
/// "value": "..."}.
///
/// objectName, probableCause and perceivedSeverity are required. Defaults: nativeEMSName is the
/// value of the name's last component, nativeProbableCause is the probable cause, and objectType
/// follows from the name's last component. Throws admin::RequestError for the first error. It names
/// the key, and in an array also the alarm.
std::vector<Alarm> readAlarms(const admin::Json& request);

}  // namespace kelp::ems
