#pragma once

#include <optional>

#include "app/command.h"
#include "app/connection_options.h"

namespace kelp::nms {

/// The parsed command line.
struct CommandLine {
    ConnectionOptions connection;
    SelectedCommand command;
};

/// Read the command line. Returns none when the command line asked for help or the version, or was
/// wrong; that text has been written, and `exitCode` is set.
std::optional<CommandLine> parseCommandLine(int argc, char** argv, int& exitCode);

}  // namespace kelp::nms
