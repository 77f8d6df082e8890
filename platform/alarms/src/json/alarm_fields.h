#pragma once

#include <string>

#include "kelp/alarms/alarm.h"
#include "kelp/alarms/alarm_json.h"

namespace kelp::alarms {

/// Set the fields of `alarm` that the object has. Sets none that follow from others, and does not
/// check the fields against each other. Throws WrongAlarm. Without a layout, neTime is any text.
void readFields(Alarm& alarm, const Json& json, const TimeLayout& neTimeLayout = {});

/// Which fields are written: all that an NT_ALARM has, or those that differ from a default-
/// constructed alarm, which are enough for readFields().
enum class FieldsWritten { All, NotDefault };
Json writeFields(const Alarm& alarm, FieldsWritten written);

}  // namespace kelp::alarms
