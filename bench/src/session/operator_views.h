#pragma once

#include <kelp/nms/client.h>

#include <vector>

#include "common/report.h"
#include "options.h"

namespace kelp::bench {

/// Measure how fast the operator's interface answers with many sessions during an alarm storm, and
/// what a scrape of /metrics a second costs the calls of an NMS.
std::vector<Figure> measureOperatorViews(nms::NmsClient& client, const Options& options);

}  // namespace kelp::bench
