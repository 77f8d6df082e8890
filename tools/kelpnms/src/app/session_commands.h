#pragma once

#include <CLI/CLI.hpp>

#include "app/command.h"

namespace kelp::nms {

/// Add the command `find`. All commands set `selected` when the command line names them; it must
/// outlive the parsing.
void addFindCommand(CLI::App& app, SelectedCommand& selected);
void addManagersCommand(CLI::App& app, SelectedCommand& selected);
void addPingCommand(CLI::App& app, SelectedCommand& selected);
void addEmsCommand(CLI::App& app, SelectedCommand& selected);
void addWatchCommand(CLI::App& app, SelectedCommand& selected);

}  // namespace kelp::nms
