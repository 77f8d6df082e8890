#pragma once

#include <kelp/util/export.h>

#include <cstdint>
#include <optional>
#include <string>

namespace kelp::util {

/// The address of one end of a connection, as text and in the numeric form of its address family.
struct KELP_EXPORT PeerAddress {
    std::string text;        ///< the address without port and brackets; IPv4-mapped IPv6 as IPv4
    std::uint16_t port = 0;  ///< 0 when unknown
    std::uint32_t ipv4 = 0;  ///< in host byte order; 0 when the peer has no IPv4 address
    /// 16 bytes in network order, for a peer with an IPv6 address that is not a mapped IPv4
    /// address.
    std::optional<std::string> ipv6;
    std::string withPort;  ///< "192.0.2.1:48958", "[2001:db8::1]:48958"; empty when unknown
};

/// Return the address of a numeric host as written in references, without a port. Any other text,
/// such as a host name, gives an empty address.
KELP_EXPORT PeerAddress parseHostAddress(const std::string& host);

/// Return whether both have the same address, which must be known. Ports are not compared.
KELP_EXPORT bool isSameAddress(const PeerAddress& a, const PeerAddress& b);

/// Return the text that identifies a caller in limits and counts per caller. It is the IPv4
/// address, or the network of the first 64 bits of an IPv6 address ("2001:db8:0:1::/64"), because a
/// host may choose the other 64 bits freely (RFC 4291). Empty for an empty address.
KELP_EXPORT std::string networkOf(const PeerAddress& peer);

}  // namespace kelp::util
