#pragma once

#include <kelp/util/export.h>
#include <kelp/util/peer_address.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace kelp::users {

/// The networks that NMS may call from: a list of "address" and "address/prefix length", IPv4 and
/// IPv6. Constant after parse().
class KELP_EXPORT OssNetworks {
  public:
    /// Fill the list. On error return false, leave the list empty and write the unreadable entry
    /// and the reason to `whyNot`.
    bool parse(const std::vector<std::string>& entries, std::string& whyNot);
    /// `address` in host byte order.
    bool containsIpv4(std::uint32_t address) const;
    /// `address` is 16 bytes in network order; any other length is in no network.
    bool containsIpv6(const std::string& address) const;
    /// A peer without an address is in no network.
    bool contains(const util::PeerAddress& peer) const;

    bool operator==(const OssNetworks&) const = default;

  private:
    using Bytes = std::array<std::uint8_t, 16>;
    struct Network {
        Bytes address;    // IPv4 as IPv4-mapped IPv6
        unsigned prefix;  // prefix length within the 128 bits
        bool isIpv4;
        bool operator==(const Network&) const = default;
    };

    static bool parseOne(const std::string& entry, Network& network, std::string& whyNot);
    bool contains(const Bytes& address, bool isIpv4) const;

    std::vector<Network> networks_;
};

}  // namespace kelp::users
