#pragma once

#include <kelp/orb/request.h>
#include <sys/socket.h>

#include <string>

namespace kelp::orb::gate {

/// Return an address as text: "127.0.0.1:4800", "[::1]:4800". An IPv4 address mapped into IPv6 is
/// shown as IPv4. Empty for other address families.
std::string textOf(const sockaddr_storage& address);

/// Return the same for the near and the far end of a connected socket; empty when it is not
/// connected any more.
std::string nearEnd(int descriptor);
std::string farEnd(int descriptor);

}  // namespace kelp::orb::gate
