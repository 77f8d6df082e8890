#pragma once

#include "app/options.h"

#include <CLI/CLI.hpp>

namespace kelp::nms {

/// Adds the commands that read lists from the EMS: elements, ports, equipment, links, dump.
void addListCommands(CLI::App& app, Options& options);

}  // namespace kelp::nms
