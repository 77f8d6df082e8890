#pragma once

#include <kelp/nms/client.h>

#include "app/options.h"
#include "app/report.h"

namespace kelp::nms {

/// The session factory that the options name. Throws Unreachable.
FoundFactory chosenFactory(NmsClient& client, const Options& options, Report& report);
/// The same, where a factory that is not registered yet is waited for until the time-out of calls
/// is over.
FoundFactory awaitedFactory(NmsClient& client, const Options& options, Report& report);

}  // namespace kelp::nms
