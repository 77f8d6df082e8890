#include <kelp/orb/references.h>
#include <kelp/orb/request.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string_view>

namespace kelp::orb {

namespace {

constexpr std::string_view transportPrefixes[] = {"giop:tcp:", "giop:ssl:"};

bool parsePort(std::string_view text, std::uint16_t& port) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    return error == std::errc() && end == text.data() + text.size() && !text.empty();
}

/// Return whether the text can appear in a log and in a session's name. The interface at the end of
/// a link-local address may have any name.
bool canBeShown(std::string_view host) {
    return std::all_of(host.begin(), host.end(), [](char c) {
        return c > 0x20 && c < 0x7f && std::string_view("[]<>").find(c) == std::string_view::npos;
    });
}

}  // namespace

util::PeerAddress parsePeer(const std::string& transportText) {
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
    std::uint16_t port = 0;
    std::string_view host = rest.substr(0, colon);
    if (!parsePort(rest.substr(colon + 1), port))
        return {};
    const bool bracketed = host.size() >= 2 && host.front() == '[' && host.back() == ']';
    if (bracketed)
        host = host.substr(1, host.size() - 2);
    else if (host.find(':') != std::string_view::npos)
        return {};
    if (!canBeShown(host))
        return {};
    util::PeerAddress peer = util::parseHostAddress(std::string(host));
    if (peer.text.empty())
        return {};
    peer.port = port;
    peer.withPort = hostAndPort({peer.text, peer.port, false});
    return peer;
}

}  // namespace kelp::orb
