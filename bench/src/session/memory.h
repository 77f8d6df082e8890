#pragma once

#include <kelp/nms/client.h>

#include <vector>

#include "common/report.h"
#include "options.h"

namespace kelp::bench {

/// Measure the resident memory of a session: alone, and together with a connection from its NMS to
/// the EMS and one from the EMS to the NMS, as in real use.
std::vector<Figure> measureMemory(nms::NmsClient& client, const Options& options);

}  // namespace kelp::bench
