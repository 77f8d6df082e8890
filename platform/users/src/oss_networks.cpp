#include <arpa/inet.h>
#include <kelp/users/oss_networks.h>

#include <algorithm>
#include <charconv>
#include <cstring>

namespace kelp::users {

namespace {

constexpr unsigned kMappedBits = 96;  // "::ffff:" before an IPv4 address (RFC 4291)
constexpr std::array<std::uint8_t, 12> kMappedPrefix{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff};

using Bytes = std::array<std::uint8_t, 16>;

Bytes mapped(const std::uint8_t* fourBytes) {
    Bytes bytes;
    std::copy(kMappedPrefix.begin(), kMappedPrefix.end(), bytes.begin());
    std::memcpy(bytes.data() + kMappedPrefix.size(), fourBytes, 4);
    return bytes;
}

bool isMapped(const Bytes& bytes) {
    return std::equal(kMappedPrefix.begin(), kMappedPrefix.end(), bytes.begin());
}

bool samePrefix(const Bytes& a, const Bytes& b, unsigned bits) {
    const std::size_t whole = bits / 8;
    if (std::memcmp(a.data(), b.data(), whole) != 0)
        return false;
    const unsigned rest = bits % 8;
    return rest == 0 || ((a[whole] ^ b[whole]) >> (8 - rest)) == 0;
}

/// Parse a decimal number of at most `max` without sign or blanks.
bool parsePrefix(const std::string& text, unsigned max, unsigned& prefix) {
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, prefix);
    return error == std::errc() && rest == end && prefix <= max;
}

}  // namespace

bool OssNetworks::parse(const std::vector<std::string>& entries, std::string& whyNot) {
    networks_.clear();
    std::vector<Network> parsed;
    for (const std::string& entry : entries) {
        Network network{};
        if (!parseOne(entry, network, whyNot))
            return false;
        parsed.push_back(network);
    }
    networks_ = std::move(parsed);
    return true;
}

bool OssNetworks::parseOne(const std::string& entry, Network& network, std::string& whyNot) {
    const std::size_t slash = entry.find('/');
    const std::string address = entry.substr(0, slash);
    std::uint8_t four[4];
    const bool isWhole = entry.find('\0') == std::string::npos;  // inet_pton would stop at a null
    if (isWhole && ::inet_pton(AF_INET, address.c_str(), four) == 1) {
        network.address = mapped(four);
        network.isIpv4 = true;
    } else if (isWhole && ::inet_pton(AF_INET6, address.c_str(), network.address.data()) == 1) {
        network.isIpv4 = false;
    } else {
        whyNot = "\"" + entry + "\" is neither an IPv4 nor an IPv6 network";
        return false;
    }
    const unsigned bits = network.isIpv4 ? 32 : 128;
    unsigned prefix = bits;
    if (slash != std::string::npos && !parsePrefix(entry.substr(slash + 1), bits, prefix)) {
        whyNot = "\"" + entry + "\" needs a prefix length from 0 to " + std::to_string(bits);
        return false;
    }
    network.prefix = network.isIpv4 ? prefix + kMappedBits : prefix;
    // an IPv4 network written as IPv4-mapped IPv6
    if (!network.isIpv4 && prefix >= kMappedBits && isMapped(network.address))
        network.isIpv4 = true;
    return true;
}

bool OssNetworks::contains(const Bytes& address, bool isIpv4) const {
    return std::any_of(networks_.begin(), networks_.end(), [&](const Network& network) {
        return network.isIpv4 == isIpv4 && samePrefix(network.address, address, network.prefix);
    });
}

bool OssNetworks::containsIpv4(std::uint32_t address) const {
    const std::uint8_t four[4] = {
        static_cast<std::uint8_t>(address >> 24), static_cast<std::uint8_t>(address >> 16),
        static_cast<std::uint8_t>(address >> 8), static_cast<std::uint8_t>(address)};
    return contains(mapped(four), true);
}

bool OssNetworks::containsIpv6(const std::string& address) const {
    Bytes bytes;
    if (address.size() != bytes.size())
        return false;
    std::memcpy(bytes.data(), address.data(), bytes.size());
    return contains(bytes, false);
}

bool OssNetworks::contains(const util::PeerAddress& peer) const {
    return (peer.ipv4 != 0 && containsIpv4(peer.ipv4)) || (peer.ipv6 && containsIpv6(*peer.ipv6));
}

}  // namespace kelp::users
