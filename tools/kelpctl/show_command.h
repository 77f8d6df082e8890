#pragma once

#include <kelp/admin/registry.h>

#include "commands.h"

namespace kelp::ctl {

/// A command that shows an answer of the running host.
struct ShowCommand {
    const char* name;
    const char* description;
    const char* footer;
    const char* path;                          ///< of the request
    void (*table)(const admin::Json& answer);  ///< prints it
    /// The exit status for the answer; null: always 0.
    int (*exitStatus)(const admin::Json& answer) = nullptr;
};

/// Add the command, which writes the answer as a table, or as JSON with --json, and with --watch
/// again and again until it is interrupted or the host does not answer. `options` must
/// outlive the parsing.
void addShowCommand(CLI::App& app, const GlobalOptions& options, const ShowCommand& show);

}  // namespace kelp::ctl
