#pragma once

#include <kelp/alarms/alarm.h>

#include <string>

namespace kelp::example {

/// Read a line of a report file: an alarm in the JSON form of `POST /alarms`. The component "EMS"
/// of the object's name may be missing; its value is `ems` then. neTime has the layout of the
/// standard ("20240105030405.0Z"). Throws std::runtime_error with a sentence.
alarms::Alarm readReport(const std::string& line, const std::string& ems);

}  // namespace kelp::example
