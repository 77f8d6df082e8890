#include "socket_address.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstring>

namespace kelp::orb::gate {

namespace {

std::string ipv4Text(const in_addr& address) {
    char text[INET_ADDRSTRLEN];
    return ::inet_ntop(AF_INET, &address, text, sizeof text);
}

std::string hostOf(const in6_addr& address) {
    if (IN6_IS_ADDR_V4MAPPED(&address)) {
        in_addr mapped{};
        std::memcpy(&mapped, address.s6_addr + 12, sizeof mapped);
        return ipv4Text(mapped);
    }
    char text[INET6_ADDRSTRLEN];
    return std::string("[") + ::inet_ntop(AF_INET6, &address, text, sizeof text) + "]";
}

template <class Function>
std::string endOf(int descriptor, Function function) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (function(descriptor, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        return {};
    return textOf(address);
}

}  // namespace

std::string textOf(const sockaddr_storage& address) {
    if (address.ss_family == AF_INET) {
        const auto& v4 = reinterpret_cast<const sockaddr_in&>(address);
        return ipv4Text(v4.sin_addr) + ":" + std::to_string(ntohs(v4.sin_port));
    }
    if (address.ss_family == AF_INET6) {
        const auto& v6 = reinterpret_cast<const sockaddr_in6&>(address);
        return hostOf(v6.sin6_addr) + ":" + std::to_string(ntohs(v6.sin6_port));
    }
    return {};
}

std::string nearEnd(int descriptor) {
    return endOf(descriptor, ::getsockname);
}

std::string farEnd(int descriptor) {
    return endOf(descriptor, ::getpeername);
}

}  // namespace kelp::orb::gate
