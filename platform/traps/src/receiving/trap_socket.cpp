#include "receiving/trap_socket.h"

#include <arpa/inet.h>
#include <kelp/util/trace_log.h>
#include <netdb.h>
#include <netinet/in.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace kelp::traps {

namespace {

/// Room for a burst while this process is not running. The kernel may grant less.
constexpr int kReceiveBytes = 4 << 20;

struct FreeAddresses {
    void operator()(addrinfo* addresses) const { ::freeaddrinfo(addresses); }
};

[[noreturn]] void failToListen(const std::string& listen, const std::string& why) {
    throw std::runtime_error("cannot receive traps at " + util::escaped(listen, 200) + ": " + why);
}

std::unique_ptr<addrinfo, FreeAddresses> addressOf(const std::string& listen) {
    const std::size_t colon = listen.rfind(':');
    if (colon == std::string::npos || colon == 0)
        failToListen(listen, "it has not the form address:port or [address]:port");
    std::string host = listen.substr(0, colon);
    if (host.size() > 2 && host.front() == '[' && host.back() == ']')
        host = host.substr(1, host.size() - 2);
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    const int error = ::getaddrinfo(host.c_str(), listen.substr(colon + 1).c_str(), &hints, &found);
    if (error != 0)
        failToListen(listen, ::gai_strerror(error));
    return std::unique_ptr<addrinfo, FreeAddresses>(found);
}

util::PeerAddress peerOf(const sockaddr_storage& address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (address.ss_family == AF_INET) {
        sockaddr_in v4{};
        std::memcpy(&v4, &address, sizeof v4);
        ::inet_ntop(AF_INET, &v4.sin_addr, text.data(), text.size());
    } else if (address.ss_family == AF_INET6) {
        sockaddr_in6 v6{};
        std::memcpy(&v6, &address, sizeof v6);
        ::inet_ntop(AF_INET6, &v6.sin6_addr, text.data(), text.size());
    }
    return util::parseHostAddress(text.data());
}

}  // namespace

TrapSocket::TrapSocket(const std::string& listen) {
    const auto address = addressOf(listen);
    const auto reason = [] { return std::generic_category().message(errno); };
    socket_ = util::Descriptor(
        ::socket(address->ai_family, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!socket_.isOpen())
        failToListen(listen, reason());
    ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVBUF, &kReceiveBytes, sizeof kReceiveBytes);
    if (::bind(socket_.get(), address->ai_addr, address->ai_addrlen) != 0)
        failToListen(listen, reason());
}

std::uint16_t TrapSocket::port() const {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    if (::getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&address), &size) != 0)
        return 0;
    sockaddr_in v4{};
    std::memcpy(&v4, &address, sizeof v4);
    return ntohs(v4.sin_port);  // at the same place in an IPv6 address
}

std::optional<Datagram> TrapSocket::receive(std::vector<std::uint8_t>& buffer) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    const ssize_t received = ::recvfrom(socket_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT,
                                        reinterpret_cast<sockaddr*>(&address), &size);
    if (received < 0)
        return std::nullopt;
    return Datagram{{buffer.data(), static_cast<std::size_t>(received)},
                    peerOf(address),
                    std::string(reinterpret_cast<const char*>(&address), size)};
}

void TrapSocket::send(const std::string& back, std::span<const std::uint8_t> octets) {
    sockaddr_storage address{};
    if (back.size() > sizeof address)
        return;
    std::memcpy(&address, back.data(), back.size());
    ::sendto(socket_.get(), octets.data(), octets.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
             reinterpret_cast<const sockaddr*>(&address), static_cast<socklen_t>(back.size()));
}

}  // namespace kelp::traps
