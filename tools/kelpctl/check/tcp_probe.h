#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "check/check_result.h"

namespace kelp::ctl {

/// What an attempt to connect has shown.
struct ProbeResult {
    std::optional<Cause> failure;  ///< none: the connection was accepted
    std::string reason;            ///< of the failure, one clause
    /// Numeric address of this machine from which the connection was made.
    std::string localHost;
};

/// Connect to an address and close the connection. Tries at most eight addresses of a host name and
/// returns the last one's failure. Takes at most `limit`, and in addition the time to look up a
/// name, which this function cannot limit.
ProbeResult probe(const std::string& host, std::uint16_t port, std::chrono::milliseconds limit);

}  // namespace kelp::ctl
