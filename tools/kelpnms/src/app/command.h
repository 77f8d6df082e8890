#pragma once

#include <kelp/nms/client.h>

#include <functional>
#include <memory>
#include <string>

#include "app/connection_options.h"
#include "app/interrupts.h"
#include "app/report.h"

namespace kelp::nms {

/// What a command needs to do its work. Everything is borrowed for the length of the call.
struct CommandContext {
    NmsClient& client;
    const ConnectionOptions& options;
    const std::string& password;  ///< empty for a command that does not log in
    const std::shared_ptr<Report>& report;
    Interrupts& interrupts;
};

/// The command that the command line selects. It owns the command's options.
struct SelectedCommand {
    bool logsIn = true;
    /// Runs the command and returns the exit code. Throws NmsError.
    std::function<int(const CommandContext&)> run;
};

}  // namespace kelp::nms
