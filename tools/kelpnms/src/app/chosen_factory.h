#pragma once

#include <kelp/nms/client.h>

#include "app/options.h"
#include "app/report.h"

namespace kelp::nms {

/// Return the session factory that the options select. Throws Unreachable.
FoundFactory chosenFactory(NmsClient& client, const Options& options, Report& report);
/// Return the session factory that the options select. If it is not registered yet, wait for it at
/// most as long as the time-out of calls. Throws Unreachable.
FoundFactory awaitedFactory(NmsClient& client, const Options& options, Report& report);

}  // namespace kelp::nms
