#pragma once

#include <set>
#include <string>
#include <vector>

#include "alarms/acknowledgement.h"
#include "app/command.h"

namespace kelp::nms {

/// The options of the command `ack`.
struct AckOptions {
    /// Alarms by their identities. A name that does not begin with EMS gets the EMS's name in
    /// front.
    std::vector<alarms::AlarmId> alarms;
    std::set<alarms::Position> notificationIds;  ///< alarms by the ids of their present states
    Acknowledgement what;
};

/// Read the identities of alarms from a file: one alarm as JSON, an array of alarms, or what
/// `kelpnms --json alarms --once` writes. "-" is standard input. Throws std::invalid_argument.
std::vector<alarms::AlarmId> identitiesIn(const std::string& file);

/// Run the command `ack`. Returns the exit code. Throws NmsError.
int ackAlarms(const CommandContext& context, const AckOptions& options);

}  // namespace kelp::nms
