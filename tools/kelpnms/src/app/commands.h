#pragma once

#include <memory>
#include <string>

#include "app/command_line.h"
#include "app/interrupts.h"
#include "app/report.h"

namespace kelp::nms {

/// Run the command that the command line selects and return the exit code. Throws NmsError.
int runCommand(const CommandLine& line, const std::string& password,
               const std::shared_ptr<Report>& report, Interrupts& interrupts);

}  // namespace kelp::nms
