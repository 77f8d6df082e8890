#pragma once

#include <kelp/nms/client.h>

#include <vector>

#include "common/report.h"
#include "options.h"

namespace kelp::bench {

/// Log-ins with their log-outs from one address while somebody at another sends wrong passwords for
/// the same user without a pause; beside them the same log-ins alone, and while as many calls come
/// that log nobody in, in turns. With the cheapest password hash and with the one as shipped.
std::vector<Figure> measureGuesses(nms::NmsClient& client, const Options& options);

}  // namespace kelp::bench
