#pragma once

#include <CLI/CLI.hpp>

#include "app/command.h"

namespace kelp::nms {

/// Add the command `alarms`. `selected` must outlive the parsing.
void addAlarmsCommand(CLI::App& app, SelectedCommand& selected);

}  // namespace kelp::nms
