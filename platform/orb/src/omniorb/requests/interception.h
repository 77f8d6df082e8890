#pragma once

#include <kelp/orb/request.h>

namespace kelp::orb {

/// Install the port's interceptors once, with `hook` (may be null) behind them. Call it after
/// ORB_init and before the root POA is resolved: the ORB's lists are not locked, and no request can
/// arrive yet.
void interceptRequests(RequestHook* hook);

}  // namespace kelp::orb
