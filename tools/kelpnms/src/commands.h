#pragma once

#include "interrupts.h"
#include "options.h"
#include "report.h"

#include <memory>

namespace kelp::nms {

/// Does what the options ask for; the result is the exit code. Throws NmsError and NoPassword.
int runCommand(const Options& options, const std::shared_ptr<Report>& report, Interrupts& interrupts);

}  // namespace kelp::nms
