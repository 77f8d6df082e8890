#pragma once

#include <CLI/CLI.hpp>

#include "commands.h"

namespace kelp::ctl {

/// Add `kelpctl alarm list`, `history` and `show` to the group "alarm".
void addAlarmListCommands(CLI::App& group, const GlobalOptions& options);

/// Add `kelpctl alarm ack` and `unack` to the group "alarm".
void addAcknowledgeCommands(CLI::App& group, const GlobalOptions& options);

}  // namespace kelp::ctl
