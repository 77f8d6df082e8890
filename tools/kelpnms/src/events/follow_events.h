#pragma once

#include <kelp/nms/client.h>

#include <memory>
#include <string>

#include "app/interrupts.h"
#include "app/options.h"
#include "app/report.h"

namespace kelp::nms {

/// Run the command `events`: log in and show events until there is a reason to end. Returns the
/// exit code. Throws NmsError.
int followEvents(NmsClient& client, const Options& options, const std::string& password,
                 const std::shared_ptr<Report>& report, Interrupts& interrupts);

}  // namespace kelp::nms
