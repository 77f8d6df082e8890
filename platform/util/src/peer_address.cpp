#include <arpa/inet.h>
#include <kelp/util/peer_address.h>

#include <cstring>

namespace kelp::util {

namespace {

void setIpv4(PeerAddress& peer, const in_addr& address) {
    char text[INET_ADDRSTRLEN];
    peer.ipv4 = ntohl(address.s_addr);
    peer.text = inet_ntop(AF_INET, &address, text, sizeof text);
}

}  // namespace

PeerAddress parseHostAddress(const std::string& host) {
    PeerAddress address;
    in_addr v4{};
    if (inet_pton(AF_INET, host.c_str(), &v4) == 1) {
        setIpv4(address, v4);
        return address;
    }
    in6_addr v6{};
    // a link-local address ends in its interface, which inet_pton does not accept
    if (inet_pton(AF_INET6, host.substr(0, host.find('%')).c_str(), &v6) != 1)
        return {};
    if (IN6_IS_ADDR_V4MAPPED(&v6)) {
        std::memcpy(&v4, v6.s6_addr + 12, sizeof v4);
        setIpv4(address, v4);
        return address;
    }
    address.text = host;
    address.ipv6.emplace(reinterpret_cast<const char*>(v6.s6_addr), sizeof v6.s6_addr);
    return address;
}

bool isSameAddress(const PeerAddress& a, const PeerAddress& b) {
    return a.ipv4 != 0 ? a.ipv4 == b.ipv4 : a.ipv6 && a.ipv6 == b.ipv6;
}

std::string networkOf(const PeerAddress& peer) {
    constexpr std::size_t networkBytes = 8;
    if (!peer.ipv6 || peer.ipv6->size() < networkBytes)
        return peer.text;
    in6_addr network{};
    std::memcpy(network.s6_addr, peer.ipv6->data(), networkBytes);
    char text[INET6_ADDRSTRLEN];
    return std::string(inet_ntop(AF_INET6, &network, text, sizeof text)) + "/64";
}

}  // namespace kelp::util
