#pragma once

#include <CLI/CLI.hpp>

#include "app/options.h"

namespace kelp::nms {

/// Add the commands that read lists from the EMS: elements, ports, equipment, links, dump.
void addListCommands(CLI::App& app, Options& options);

}  // namespace kelp::nms
