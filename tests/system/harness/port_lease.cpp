#include "harness/port_lease.h"

#include <sys/un.h>

#include <cstddef>
#include <cstring>
#include <random>
#include <stdexcept>

namespace kelp::test {

namespace {

constexpr std::uint16_t kFirstPort = 10240;
constexpr std::uint16_t kLastPort = 32000;
constexpr int kAttempts = 1000;

/// Claim the port number among the tests. An abstract local address exists only once and disappears
/// with its process. The returned socket is closed if another test holds the claim.
Socket claimOf(std::uint16_t port) {
    Socket claim(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (claim.fd() < 0)
        throw std::runtime_error("no socket");
    const std::string name = "kelp-test-port-" + std::to_string(port);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, name.data(), name.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    if (::bind(claim.fd(), reinterpret_cast<const sockaddr*>(&address), length) != 0)
        claim.close();
    return claim;
}

bool isFree(std::uint16_t port) {
    const Socket probe = tcpSocket();
    const int yes = 1;
    ::setsockopt(probe.fd(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    const sockaddr_in address = loopbackAddress(port);
    return ::bind(probe.fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

}  // namespace

PortLease::PortLease() {
    std::random_device random;
    std::uniform_int_distribution<unsigned> anyPort(kFirstPort, kLastPort);
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const auto candidate = static_cast<std::uint16_t>(anyPort(random));
        Socket claim = claimOf(candidate);
        if (claim.fd() < 0 || !isFree(candidate))
            continue;
        claim_ = std::move(claim);
        port_ = candidate;
        return;
    }
    throw std::runtime_error("no free port");
}

}  // namespace kelp::test
