#pragma once

#include "options.h"
#include "report.h"

#include <kelp/nms/client.h>

namespace kelp::nms {

/// The session factory that the options name. Throws Unreachable.
FoundFactory chosenFactory(NmsClient& client, const Options& options, Report& report);

}  // namespace kelp::nms
