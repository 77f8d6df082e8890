#include <arpa/inet.h>
#include <kelp/orb/request.h>

#include <algorithm>
#include <cstring>

#include "targets.h"

namespace kelp::fuzz {

namespace {

using orb::parsePeer;
using util::PeerAddress;

bool same(const PeerAddress& a, const PeerAddress& b) {
    return a.text == b.text && a.port == b.port && a.ipv4 == b.ipv4 && a.ipv6 == b.ipv6;
}

/// Require that the text equals the numbers, and that it is safe for logs and session names.
void checkReadable(const PeerAddress& peer) {
    require(
        std::all_of(peer.text.begin(), peer.text.end(), [](char c) { return c > ' ' && c < 0x7f; }),
        "an address's text has bytes in it that cannot be printed");
    require(peer.text.find_first_of("[]<>") == std::string::npos,
            "an address's text has brackets in it");
    if (peer.ipv6) {
        in6_addr address{};
        require(peer.ipv6->size() == sizeof address, "an IPv6 address has not 16 bytes");
        require(peer.ipv4 == 0, "a peer has addresses of both kinds");
        const std::string withoutInterface = peer.text.substr(0, peer.text.find('%'));
        require(::inet_pton(AF_INET6, withoutInterface.c_str(), &address) == 1,
                "an IPv6 address's text is none");
        require(std::memcmp(&address, peer.ipv6->data(), sizeof address) == 0,
                "an IPv6 address's text says another one");
        require(!IN6_IS_ADDR_V4MAPPED(&address), "an IPv4 address is taken for IPv6");
    } else {
        in_addr address{};
        require(::inet_pton(AF_INET, peer.text.c_str(), &address) == 1,
                "an IPv4 address's text is none");
        require(ntohl(address.s_addr) == peer.ipv4, "an IPv4 address's text says another one");
    }
}

void checkPeer(const std::string& text) {
    const PeerAddress peer = parsePeer(text);
    if (peer.text.empty()) {
        require(same(peer, PeerAddress{}), "a text that is no peer's leaves something behind");
        return;
    }
    require(peer.text.size() <= text.size() || !peer.ipv6,
            "an address is longer than what it was read from");
    checkReadable(peer);
    const std::string host = peer.ipv6 ? "[" + peer.text + "]" : peer.text;
    for (const char* const transport : {"giop:tcp:", "giop:ssl:"})
        require(same(parsePeer(transport + host + ":" + std::to_string(peer.port)), peer),
                "what is read is read otherwise when said again");
}

}  // namespace

void fuzzPeerAddress(Input input) {
    const std::string text = textOf(input);
    checkPeer(text);
    checkPeer("giop:tcp:" + text + ":48958");
    checkPeer("giop:ssl:[" + text + "]:48958");
    checkPeer("giop:tcp:[::1]:" + text);
}

}  // namespace kelp::fuzz
