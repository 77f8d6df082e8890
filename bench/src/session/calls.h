#pragma once

#include <kelp/nms/client.h>

#include <vector>

#include "common/report.h"
#include "options.h"

namespace kelp::bench {

/// Measure two-way calls on a session (ping) and on a manager (getEMS), from 1 and from 16
/// connections. The product, a second product that uses the ORB's transport, and the floors take
/// turns.
std::vector<Figure> measureCalls(nms::NmsClient& client, const Options& options);

}  // namespace kelp::bench
