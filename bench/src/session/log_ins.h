#pragma once

#include "options.h"
#include "common/report.h"

#include <kelp/nms/client.h>

#include <vector>

namespace kelp::bench {

/// Log-ins with their log-outs at a product with few and at one with many live sessions, in turns.
std::vector<Figure> measureLogIns(nms::NmsClient& client, const Options& options);

}  // namespace kelp::bench
