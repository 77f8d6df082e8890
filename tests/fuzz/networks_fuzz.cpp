#include <arpa/inet.h>
#include <kelp/orb/request.h>
#include <kelp/users/oss_networks.h>

#include <array>
#include <charconv>
#include <optional>
#include <sstream>
#include <vector>

#include "network_text.h"
#include "targets.h"

namespace kelp::fuzz {

namespace {

using kelp::users::OssNetworks;

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; lines.size() < 20 && std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

/// An entry as this file parses it, independently of the code under test.
struct Network {
    std::vector<std::uint8_t> address;  // 4 or 16 bytes
    unsigned prefix;

    /// True if the address begins with the 96 bits of an IPv4-mapped IPv6 address.
    bool isMapped() const {
        const std::array<std::uint8_t, 12> before{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff};
        return address.size() == 16 && std::equal(before.begin(), before.end(), address.begin());
    }
};

std::optional<Network> networkOf(const std::string& entry) {
    if (entry.find('\0') != std::string::npos)
        return std::nullopt;
    const std::size_t slash = entry.find('/');
    const std::string host = entry.substr(0, slash);
    Network network;
    network.address.resize(host.find(':') == std::string::npos ? 4 : 16);
    const unsigned bits = static_cast<unsigned>(network.address.size() * 8);
    if (::inet_pton(bits == 32 ? AF_INET : AF_INET6, host.c_str(), network.address.data()) != 1)
        return std::nullopt;
    network.prefix = bits;
    if (slash == std::string::npos)
        return network;
    const std::string prefix = entry.substr(slash + 1);
    if (prefix.empty() || prefix.find_first_not_of("0123456789") != std::string::npos)
        return std::nullopt;
    const auto read = std::from_chars(prefix.data(), prefix.data() + prefix.size(), network.prefix);
    return read.ec == std::errc() && network.prefix <= bits ? std::optional(network) : std::nullopt;
}

bool contains(const OssNetworks& networks, const std::vector<std::uint8_t>& address) {
    if (address.size() == 16)
        return networks.containsIpv6({address.begin(), address.end()});
    std::uint32_t number = 0;
    for (const std::uint8_t byte : address)
        number = number << 8 | byte;
    return networks.containsIpv4(number);
}

std::string peerText(const std::vector<std::uint8_t>& address) {
    char text[INET6_ADDRSTRLEN] = "";
    ::inet_ntop(address.size() == 4 ? AF_INET : AF_INET6, address.data(), text, sizeof text);
    return address.size() == 4 ? std::string(text) : "[" + std::string(text) + "]";
}

std::vector<std::uint8_t> withBitTurned(std::vector<std::uint8_t> address, std::size_t bit) {
    address[bit / 8] = static_cast<std::uint8_t>(address[bit / 8] ^ (0x80u >> bit % 8));
    return address;
}

/// Flipping a bit leaves the network if, and only if, the prefix covers the bit.
void checkMembers(const OssNetworks& networks, std::vector<std::uint8_t> address, unsigned prefix) {
    require(contains(networks, address), "a network does not hold its own address");
    const bool isNowhere =
        // 0.0.0.0 stands for no address
        address == std::vector<std::uint8_t>(4, 0);
    require(
        isNowhere || networks.contains(orb::parsePeer("giop:tcp:" + peerText(address) + ":4800")),
        "a network does not hold a peer with its own address");
    for (std::size_t bit = 0; bit < address.size() * 8; ++bit)
        require(contains(networks, withBitTurned(address, bit)) == (bit >= prefix),
                "a network holds what its prefix does not say");
}

void checkNetwork(const Network& network, const OssNetworks& networks) {
    if (!network.isMapped()) {
        checkMembers(networks, network.address, network.prefix);
        return;
    }
    // with a prefix of 96 or more it is an IPv4 network
    if (network.prefix >= 96)
        checkMembers(networks, {network.address.begin() + 12, network.address.end()},
                     network.prefix - 96);
}

void checkEntry(const std::string& entry, bool& allReadable) {
    OssNetworks networks;
    std::string whyNot;
    const bool isReadable = networks.parse({entry}, whyNot);
    const std::optional<Network> network = networkOf(entry);
    require(isReadable == network.has_value(),
            "an entry is read that is no network, or the other way round");
    require(isReadable == NS_BUNDLEMGR1::isNetwork(entry),
            "the check of the configuration has another opinion of a network than who reads it");
    require(isReadable == whyNot.empty(), "a refusal gives no reason");
    if (network)
        checkNetwork(*network, networks);
    else
        require(!networks.containsIpv4(0x7f000001) && !networks.containsIpv6(std::string(16, '\0')),
                "an unreadable list holds an address");
    allReadable = allReadable && isReadable;
}

}  // namespace

void fuzzNetworks(Input input) {
    const std::vector<std::string> entries = linesOf(textOf(input));
    bool allReadable = true;
    for (const std::string& entry : entries)
        checkEntry(entry, allReadable);
    OssNetworks all;
    std::string whyNot;
    require(all.parse(entries, whyNot) == allReadable, "a list is read otherwise than its entries");
    for (const std::string& entry : entries) {
        const std::optional<Network> network = networkOf(entry);
        if (network && !network->isMapped())
            require(contains(all, network->address) == allReadable,
                    "a list does not hold what its entries hold, or is left half read");
    }
}

}  // namespace kelp::fuzz
