#pragma once

#include <kelp/nms/client.h>

#include <vector>

#include "common/report.h"
#include "options.h"

namespace kelp::bench {

/// Measure log-ins with log-outs at a product with few live sessions and at one with many. The two
/// take turns.
std::vector<Figure> measureLogIns(nms::NmsClient& client, const Options& options);

}  // namespace kelp::bench
