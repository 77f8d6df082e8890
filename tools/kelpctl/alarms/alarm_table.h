#pragma once

#include <kelp/admin/registry.h>

#include <string>

namespace kelp::ctl {

/// Whether the alarms of a table are active or over.
enum class AlarmTable { Active, History };

/// Print the alarms of an answer of the host as a table, with a line of numbers below it. Texts are
/// escaped, because they come from network elements.
void printAlarms(const admin::Json& answer, AlarmTable kind);

/// Print all fields of an alarm, one on a line.
void printAlarm(const admin::Json& answer);

}  // namespace kelp::ctl
