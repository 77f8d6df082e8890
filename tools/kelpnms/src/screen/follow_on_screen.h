#pragma once

#include "alarms/follow_alarms.h"
#include "app/command.h"

namespace kelp::nms {

/// Whether standard input and output are a terminal that can show a screen.
bool canShowScreen();

/// Run the command `alarms` on the whole terminal, until the operator quits. Returns the exit code.
/// Throws NmsError.
int followOnScreen(const CommandContext& context, const AlarmsOptions& options);

}  // namespace kelp::nms
