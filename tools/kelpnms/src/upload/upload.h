#pragma once

#include <kelp/nms/client.h>

#include <memory>
#include <string>

#include "app/interrupts.h"
#include "app/options.h"
#include "app/report.h"

namespace kelp::nms {

/// Log in, and read and write the lists that the options ask for. Returns the exit code. Throws
/// NmsError or CannotWrite. Throws std::invalid_argument when the element to begin with does not
/// exist.
int upload(NmsClient& client, const Options& options, const std::string& password,
           const std::shared_ptr<Report>& report, Interrupts& interrupts);

}  // namespace kelp::nms
