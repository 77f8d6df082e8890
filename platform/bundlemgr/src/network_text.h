#pragma once

#include <optional>
#include <string>

namespace NS_BUNDLEMGR1 {

/// The parts of "host:port" or "[ipv6]:port". The host may be empty or "*".
struct HostAndPort {
    std::string host;  ///< without brackets
    int port = 0;
};
std::optional<HostAndPort> parseHostAndPort(const std::string& text);

/// True for a text that means all addresses of the machine: "", "*", "0.0.0.0", or "::" in any
/// spelling.
bool isWildcardHost(const std::string& host);

/// True for an address (not a name) of the loopback interface.
bool isLoopbackAddress(const std::string& host);

/// False for an address (not a name) that no interface of this machine has.
bool mayBeOwnHost(const std::string& host);

/// True for an address or address/prefix length, IPv4 or IPv6.
bool isNetwork(const std::string& text);

}  // namespace NS_BUNDLEMGR1
