#pragma once

#include <CLI/CLI.hpp>

#include "app/command.h"

namespace kelp::nms {

/// Add the command `ack`. `selected` must outlive the parsing.
void addAckCommand(CLI::App& app, SelectedCommand& selected);

}  // namespace kelp::nms
