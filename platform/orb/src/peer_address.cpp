#include <arpa/inet.h>
#include <kelp/orb/references.h>
#include <kelp/orb/request.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

namespace kelp::orb {

namespace {

constexpr std::string_view transportPrefixes[] = {"giop:tcp:", "giop:ssl:"};

bool parsePort(std::string_view text, std::uint16_t& port) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    return error == std::errc() && end == text.data() + text.size() && !text.empty();
}

void setIpv4(PeerAddress& peer, const in_addr& address) {
    char text[INET_ADDRSTRLEN];
    peer.ipv4 = ntohl(address.s_addr);
    peer.text = inet_ntop(AF_INET, &address, text, sizeof text);
}

/// Return whether the text can appear in a log and in a session's name. The interface at the end of
/// a link-local address may have any name.
bool canBeShown(std::string_view host) {
    return std::all_of(host.begin(), host.end(), [](char c) {
        return c > 0x20 && c < 0x7f && std::string_view("[]<>").find(c) == std::string_view::npos;
    });
}

bool parseHost(const std::string& host, PeerAddress& peer) {
    in_addr v4{};
    if (inet_pton(AF_INET, host.c_str(), &v4) == 1) {
        setIpv4(peer, v4);
        return true;
    }
    in6_addr v6{};
    // a link-local address ends in its interface, which inet_pton does not accept
    if (inet_pton(AF_INET6, host.substr(0, host.find('%')).c_str(), &v6) != 1)
        return false;
    if (IN6_IS_ADDR_V4MAPPED(&v6)) {
        std::memcpy(&v4, v6.s6_addr + 12, sizeof v4);
        setIpv4(peer, v4);
        return true;
    }
    peer.text = host;
    peer.ipv6.emplace(reinterpret_cast<const char*>(v6.s6_addr), sizeof v6.s6_addr);
    return true;
}

}  // namespace

PeerAddress parseHostAddress(const std::string& host) {
    PeerAddress address;
    return parseHost(host, address) ? address : PeerAddress{};
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

PeerAddress parsePeer(const std::string& transportText) {
    std::string_view rest(transportText);
    const auto prefix =
        std::find_if(std::begin(transportPrefixes), std::end(transportPrefixes),
                     [rest](std::string_view each) { return rest.starts_with(each); });
    if (prefix == std::end(transportPrefixes))
        return {};
    rest.remove_prefix(prefix->size());

    const std::size_t colon = rest.rfind(':');
    if (colon == std::string_view::npos)
        return {};
    PeerAddress peer;
    std::string_view host = rest.substr(0, colon);
    if (!parsePort(rest.substr(colon + 1), peer.port))
        return {};
    const bool bracketed = host.size() >= 2 && host.front() == '[' && host.back() == ']';
    if (bracketed)
        host = host.substr(1, host.size() - 2);
    else if (host.find(':') != std::string_view::npos)
        return {};
    if (!canBeShown(host) || !parseHost(std::string(host), peer))
        return {};
    peer.withPort = hostAndPort({peer.text, peer.port, false});
    return peer;
}

}  // namespace kelp::orb
