#pragma once

#include <kelp/nms/client.h>

#include <vector>

#include "common/report.h"
#include "options.h"

namespace kelp::bench {

/// Resident memory that a session takes: the session alone, and with an own connection of its NMS
/// to the EMS and of the EMS to the NMS, as they are in real use.
std::vector<Figure> measureMemory(nms::NmsClient& client, const Options& options);

}  // namespace kelp::bench
