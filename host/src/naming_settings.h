#pragma once

#include <cstdint>
#include <string>

namespace kelp::host {

/// Values of tls.mode.
inline constexpr std::int64_t kTlsOff = 0;
inline constexpr std::int64_t kTlsOnly = 2;

/// Whether the embedded naming service can listen at its configured addresses. If not, set `whyNot`
/// to one sentence about the first address where it cannot.
bool namingPortsAreFree(std::string& whyNot);

/// Return the address at which NMS find the naming service, embedded or not, as a corbaloc.
std::string configuredNamingAddress();

}  // namespace kelp::host
