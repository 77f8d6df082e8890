#pragma once

#include <kelp/orb/request.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace NS_CORBA {

/// The networks that NMS may call from: a list of "address", "address/prefix length", IPv4 and
/// IPv6. Constant after parse().
class OssNetworks {
  public:
    /// Fills the list. False, with the unreadable entry and its reason in `whyNot`, leaves it
    /// empty.
    bool parse(const std::vector<std::string>& entries, std::string& whyNot);
    /// `address` in host byte order.
    bool containsIpv4(std::uint32_t address) const;
    /// `address` is 16 bytes in network order; any other length is in no network.
    bool containsIpv6(const std::string& address) const;
    /// A peer without an address is in no network.
    bool contains(const kelp::orb::PeerAddress& peer) const;

    bool operator==(const OssNetworks&) const = default;

  private:
    using Bytes = std::array<std::uint8_t, 16>;
    struct Network {
        Bytes address;    // an IPv4 network as IPv4-mapped IPv6
        unsigned prefix;  // bits of those 128
        bool isIpv4;
        bool operator==(const Network&) const = default;
    };

    static bool parseOne(const std::string& entry, Network& network, std::string& whyNot);
    bool contains(const Bytes& address, bool isIpv4) const;

    std::vector<Network> networks_;
};

}  // namespace NS_CORBA
