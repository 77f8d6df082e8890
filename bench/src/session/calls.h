#pragma once

#include <kelp/nms/client.h>

#include <vector>

#include "common/report.h"
#include "options.h"

namespace kelp::bench {

/// Two-way calls on a session (ping) and on a manager (getEMS), from 1 and from 16 connections, at
/// the product, at a second one that uses the ORB's own transport, and at the floors, in turns.
std::vector<Figure> measureCalls(nms::NmsClient& client, const Options& options);

}  // namespace kelp::bench
