#pragma once

#include <kelp/nms/client.h>

#include <memory>
#include <string>

#include "app/interrupts.h"
#include "app/options.h"
#include "app/report.h"

namespace kelp::nms {

/// The command `events`: logs in and shows events until there is an end. The result is the exit
/// code. Throws NmsError.
int followEvents(NmsClient& client, const Options& options, const std::string& password,
                 const std::shared_ptr<Report>& report, Interrupts& interrupts);

}  // namespace kelp::nms
