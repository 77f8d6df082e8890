#pragma once

#include <CLI/CLI.hpp>

#include "app/command.h"

namespace kelp::nms {

/// Add the commands that read lists from the EMS: elements, ports, equipment, links, dump.
/// `selected` must outlive the parsing.
void addListCommands(CLI::App& app, SelectedCommand& selected);

}  // namespace kelp::nms
