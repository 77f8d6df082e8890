#pragma once

#include <CLI/CLI.hpp>

#include "app/command.h"

namespace kelp::nms {

/// Add the command `events`. `selected` must outlive the parsing.
void addEventsCommand(CLI::App& app, SelectedCommand& selected);

}  // namespace kelp::nms
