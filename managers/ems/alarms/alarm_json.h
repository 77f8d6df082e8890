#pragma once

#include <kelp/admin/registry.h>
#include <kelp/alarms/alarm.h>

#include <string>
#include <vector>

namespace kelp::ems {

/// Read the alarms of a request: one object or an array of objects, each as alarms::readAlarm()
/// reads it. neTime may be in any layout that the interface accepts; it is converted to the
/// configured one. Throws admin::RequestError for the first error. It names the key, in an array
/// also the alarm, and has the path of the wrong value, which begins with `path`.
std::vector<alarms::Alarm> readAlarms(const admin::Json& request, const std::string& path = {});

}  // namespace kelp::ems
