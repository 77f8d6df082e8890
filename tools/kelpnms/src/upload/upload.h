#pragma once

#include <kelp/nms/client.h>

#include <memory>
#include <string>

#include "app/interrupts.h"
#include "app/options.h"
#include "app/report.h"

namespace kelp::nms {

/// Logs in, reads the lists that the options ask for and writes them; the result is the exit code.
/// Throws NmsError, CannotWrite, or std::invalid_argument for an element to begin with that there
/// is not.
int upload(NmsClient& client, const Options& options, const std::string& password,
           const std::shared_ptr<Report>& report, Interrupts& interrupts);

}  // namespace kelp::nms
