#pragma once

#include <kelp/nms/client.h>

#include "app/connection_options.h"
#include "app/report.h"

namespace kelp::nms {

/// Return the session factory that the options select. Throws Unreachable.
FoundFactory chosenFactory(NmsClient& client, const ConnectionOptions& options, Report& report);
/// Return the session factory that the options select. If it is not registered yet, wait for it at
/// most as long as the time-out of calls. Throws Unreachable.
FoundFactory awaitedFactory(NmsClient& client, const ConnectionOptions& options, Report& report);

}  // namespace kelp::nms
