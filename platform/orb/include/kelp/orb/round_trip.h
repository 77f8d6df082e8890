#pragma once

#include <kelp/orb/export.h>

#include <chrono>
#include <optional>
#include <string>

namespace kelp::orb {

/// The round-trip time of this process's TCP connections with a numeric address, as the system
/// measures it: the shortest of them. Empty if there is no connection. Checks every descriptor of
/// the process, so not for each request.
KELP_EXPORT std::optional<std::chrono::microseconds> roundTripTo(const std::string& address);

}  // namespace kelp::orb
