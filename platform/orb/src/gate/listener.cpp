#include "listener.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

namespace kelp::orb::gate {

namespace {

constexpr int kAtOnceMax = 64;
/// Lowest descriptor that select() cannot handle.
constexpr rlim_t kHighDescriptors = 1024;

int firstDescriptorOfConnections() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return 0;
    return static_cast<int>(std::min(limit.rlim_cur / 2, kHighDescriptors));
}

int spareDescriptor() {
    return ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}

std::string withoutBrackets(const std::string& host) {
    const bool bracketed = host.size() >= 2 && host.front() == '[' && host.back() == ']';
    return bracketed ? host.substr(1, host.size() - 2) : host;
}

using Addresses = std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)>;

Addresses resolve(const std::string& host, std::uint16_t port, std::string& whyNot) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const int error = ::getaddrinfo(host.empty() ? nullptr : host.c_str(),
                                    std::to_string(port).c_str(), &hints, &found);
    if (error != 0)
        whyNot = ::gai_strerror(error);
    return {error == 0 ? found : nullptr, ::freeaddrinfo};
}

int listenOn(const addrinfo& address) {
    const int descriptor = ::socket(
        address.ai_family, address.ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, address.ai_protocol);
    if (descriptor < 0)
        return -1;
    const int on = 1;
    ::setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    // accepted sockets inherit it
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (::bind(descriptor, address.ai_addr, address.ai_addrlen) == 0 &&
        ::listen(descriptor, SOMAXCONN) == 0)
        return descriptor;
    const int error = errno;
    ::close(descriptor);
    errno = error;
    return -1;
}

bool isAny(const sockaddr_storage& address) {
    if (address.ss_family == AF_INET)
        return reinterpret_cast<const sockaddr_in&>(address).sin_addr.s_addr == htonl(INADDR_ANY);
    return address.ss_family == AF_INET6 &&
           IN6_IS_ADDR_UNSPECIFIED(&reinterpret_cast<const sockaddr_in6&>(address).sin6_addr);
}

std::uint16_t portOf(const sockaddr_storage& address) {
    return ntohs(address.ss_family == AF_INET6
                     ? reinterpret_cast<const sockaddr_in6&>(address).sin6_port
                     : reinterpret_cast<const sockaddr_in&>(address).sin_port);
}

bool hasNoDescriptors(int error) {
    return error == EMFILE || error == ENFILE;
}

/// Return whether the error concerns only the connection that was waiting. The next one may be
/// accepted.
bool concernsOne(int error) {
    return error == EINTR || error == ECONNABORTED || error == EPROTO || error == EPERM;
}

}  // namespace

Listener::~Listener() {
    close();
}

bool Listener::open(const std::string& host, std::uint16_t port, std::string& whyNot) {
    const Addresses addresses = resolve(withoutBrackets(host), port, whyNot);
    for (const addrinfo* each = addresses.get(); each != nullptr && descriptor_ < 0;
         each = each->ai_next)
        descriptor_ = listenOn(*each);
    if (descriptor_ < 0) {
        if (addresses != nullptr)
            whyNot = std::strerror(errno);
        return false;
    }
    sockaddr_storage bound{};
    socklen_t length = sizeof bound;
    ::getsockname(descriptor_, reinterpret_cast<sockaddr*>(&bound), &length);
    port_ = portOf(bound);
    isWildcard_ = isAny(bound);
    spare_ = spareDescriptor();
    firstDescriptor_ = firstDescriptorOfConnections();
    return true;
}

/// Move a connection to a high descriptor. Return -1, with the connection closed, when none is
/// free.
int Listener::moveUp(int descriptor) const {
    if (descriptor < 0 || descriptor >= firstDescriptor_)
        return descriptor;
    const int moved = ::fcntl(descriptor, F_DUPFD_CLOEXEC, firstDescriptor_);
    if (moved < 0)
        closeAtOnce(descriptor);
    else
        ::close(descriptor);
    return moved;
}

void Listener::close() {
    for (int* const each : {&descriptor_, &spare_}) {
        if (*each >= 0)
            ::close(std::exchange(*each, -1));
    }
}

bool Listener::accept(const Take& take, const Turnaway& turnedAway) {
    for (int i = 0; i < kAtOnceMax; ++i) {
        sockaddr_storage peer{};
        socklen_t length = sizeof peer;
        const int accepted =
            ::accept4(descriptor_, reinterpret_cast<sockaddr*>(&peer), &length, SOCK_CLOEXEC);
        if (accepted >= 0) {
            const int descriptor = moveUp(accepted);
            if (descriptor >= 0)
                take(descriptor, peer);
            else
                turnedAway(peer);
        } else if (errno == EAGAIN || errno == EWOULDBLOCK)
            return true;
        else if (concernsOne(errno))
            continue;
        else if (!hasNoDescriptors(errno) || !turnOneAway(turnedAway))
            return false;
    }
    return true;
}

bool Listener::turnOneAway(const Turnaway& turnedAway) {
    if (spare_ < 0) {
        spare_ = spareDescriptor();
        return spare_ >= 0;
    }
    ::close(std::exchange(spare_, -1));
    sockaddr_storage peer{};
    socklen_t length = sizeof peer;
    const int accepted =
        ::accept4(descriptor_, reinterpret_cast<sockaddr*>(&peer), &length, SOCK_CLOEXEC);
    if (accepted >= 0) {
        turnedAway(peer);
        closeAtOnce(accepted);
    }
    spare_ = spareDescriptor();
    return accepted >= 0 && spare_ >= 0;
}

void closeAtOnce(int descriptor) {
    const linger none{1, 0};
    ::setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &none, sizeof none);
    ::close(descriptor);
}

}  // namespace kelp::orb::gate
