#pragma once

#include <memory>
#include <string>

#include "app/interrupts.h"
#include "app/options.h"
#include "app/report.h"

namespace kelp::nms {

/// Run the command that the options select and return the exit code. Throws NmsError.
int runCommand(const Options& options, const std::string& password,
               const std::shared_ptr<Report>& report, Interrupts& interrupts);

}  // namespace kelp::nms
