#pragma once

#include <kelp/alarms/intake.h>
#include <kelp/traps/receiver.h>

#include <vector>

namespace kelp::snmp {

/// Submit the alarms of traps to the list, in order. Returns for each whether it is durable. Traps
/// that follow each other are submitted together. Each inform is submitted alone, under its key.
std::vector<bool> submitAlarms(const alarms::Intake& intake,
                               const std::vector<traps::Submission>& all);

}  // namespace kelp::snmp
