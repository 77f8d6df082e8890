#pragma once

#include <kelp/nms/client.h>

#include <vector>

#include "common/report.h"
#include "options.h"

namespace kelp::bench {

/// Log-ins with their log-outs at a product with few and at one with many live sessions, in turns.
std::vector<Figure> measureLogIns(nms::NmsClient& client, const Options& options);

}  // namespace kelp::bench
