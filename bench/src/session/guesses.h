#pragma once

#include <kelp/nms/client.h>

#include <vector>

#include "common/report.h"
#include "options.h"

namespace kelp::bench {

/// Measure log-ins with log-outs from one address while a client at another address continuously
/// sends wrong passwords for the same user. For comparison, measure the same log-ins alone, and
/// together with as many calls that do not log in; the three take turns. Both are done with the
/// smallest password hash cost and with the default.
std::vector<Figure> measureGuesses(nms::NmsClient& client, const Options& options);

}  // namespace kelp::bench
