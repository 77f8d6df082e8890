#include "network_text.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace NS_BUNDLEMGR1 {

namespace {

/// Parse digits without a sign.
std::optional<unsigned> parseNumber(std::string_view text, unsigned maximum) {
    unsigned number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number > maximum)
        return std::nullopt;
    return number;
}

/// The 4 or 16 bytes of an address; empty for anything else.
std::vector<unsigned char> addressBytes(const sockaddr* address) {
    const unsigned char* bytes = nullptr;
    std::size_t count = 0;
    if (address != nullptr && address->sa_family == AF_INET) {
        bytes = reinterpret_cast<const unsigned char*>(
            &reinterpret_cast<const sockaddr_in*>(address)->sin_addr);
        count = sizeof(in_addr);
    } else if (address != nullptr && address->sa_family == AF_INET6) {
        bytes = reinterpret_cast<const unsigned char*>(
            &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr);
        count = sizeof(in6_addr);
    }
    return {bytes, bytes + count};
}

/// The bytes of a numeric address; empty for a host name.
std::vector<unsigned char> numericAddress(const std::string& host) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST;
    addrinfo* found = nullptr;
    if (host.empty() || ::getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0)
        return {};
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owned(found, &::freeaddrinfo);
    return addressBytes(found->ai_addr);
}

}  // namespace

std::optional<HostAndPort> parseHostAndPort(const std::string& text) {
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos)
        return std::nullopt;
    const std::optional<unsigned> port =
        parseNumber(std::string_view(text).substr(colon + 1), 65535);
    if (!port)
        return std::nullopt;
    std::string host = text.substr(0, colon);
    const bool bracketed = host.size() >= 2 && host.front() == '[' && host.back() == ']';
    if (bracketed) {
        host = host.substr(1, host.size() - 2);
        if (numericAddress(host).size() != sizeof(in6_addr))
            return std::nullopt;
    } else if (host.find_first_of(":[] \t/") != std::string::npos) {
        return std::nullopt;
    }
    return HostAndPort{host, static_cast<int>(*port)};
}

bool isWildcardHost(const std::string& host) {
    if (host.empty() || host == "*")
        return true;
    const std::vector<unsigned char> bytes = numericAddress(host);
    return !bytes.empty() &&
           std::all_of(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte == 0; });
}

bool isLoopbackAddress(const std::string& host) {
    std::vector<unsigned char> bytes = numericAddress(host);
    if (bytes.size() == sizeof(in_addr))
        return bytes.front() == 127;
    return bytes.size() == sizeof(in6_addr) &&
           std::equal(bytes.begin(), bytes.end(), in6addr_loopback.s6_addr);
}

bool mayBeOwnHost(const std::string& host) {
    const std::vector<unsigned char> wanted = numericAddress(host);
    if (wanted.empty() || (wanted.size() == sizeof(in_addr) && wanted.front() == 127))
        return true;
    ifaddrs* first = nullptr;
    if (::getifaddrs(&first) != 0)
        return true;
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owned(first, &::freeifaddrs);
    for (const ifaddrs* at = first; at != nullptr; at = at->ifa_next) {
        if (addressBytes(at->ifa_addr) == wanted)
            return true;
    }
    return false;
}

bool isNetwork(const std::string& text) {
    if (text.find('\0') != std::string::npos)
        return false;
    const std::size_t slash = text.find('/');
    const std::string address = text.substr(0, slash);
    unsigned char bytes[sizeof(in6_addr)];
    const bool isIpv4 = ::inet_pton(AF_INET, address.c_str(), bytes) == 1;
    if (!isIpv4 && ::inet_pton(AF_INET6, address.c_str(), bytes) != 1)
        return false;
    return slash == std::string::npos ||
           parseNumber(std::string_view(text).substr(slash + 1), isIpv4 ? 32 : 128).has_value();
}

}  // namespace NS_BUNDLEMGR1
