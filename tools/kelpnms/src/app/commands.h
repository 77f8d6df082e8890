#pragma once

#include <memory>
#include <string>

#include "app/interrupts.h"
#include "app/options.h"
#include "app/report.h"

namespace kelp::nms {

/// Does what the options ask for; the result is the exit code. Throws NmsError.
int runCommand(const Options& options, const std::string& password,
               const std::shared_ptr<Report>& report, Interrupts& interrupts);

}  // namespace kelp::nms
