#pragma once

#include <kelp/orb/request.h>

namespace kelp::orb {

/// Puts the port's interceptors in place, once, with `hook` (may be null) behind them. After
/// ORB_init and before the root POA is resolved: the ORB's lists are not locked, and no request can
/// arrive yet.
void interceptRequests(RequestHook* hook);

}  // namespace kelp::orb
