#include "check/tcp_probe.h"

#include <kelp/util/descriptor.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <system_error>

namespace kelp::ctl {

namespace {

using Clock = std::chrono::steady_clock;

/// More addresses than a real host name has.
constexpr int kAddressesMax = 8;

ProbeResult failureOf(int error) {
    const std::string reason = std::generic_category().message(error);
    if (error == ECONNREFUSED || error == ECONNRESET)
        return {Cause::Refused, reason, {}};
    return {error == ETIMEDOUT ? Cause::NotConnected : Cause::NoRoute, reason, {}};
}

/// Return 0, or the errno that says why the connection in progress failed.
int awaitConnection(int socket, Clock::time_point deadline) {
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd waiting{socket, POLLOUT, 0};
        const int ready = ::poll(&waiting, 1, static_cast<int>(std::max<decltype(left)>(left, 0)));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            return ready == 0 ? ETIMEDOUT : errno;
        int error = 0;
        socklen_t length = sizeof error;
        return ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &length) == 0 ? error : errno;
    }
}

std::string localHostOf(int socket) {
    sockaddr_storage local{};
    socklen_t length = sizeof local;
    auto* const address = reinterpret_cast<sockaddr*>(&local);
    char text[NI_MAXHOST];
    const bool isKnown =
        ::getsockname(socket, address, &length) == 0 &&
        ::getnameinfo(address, length, text, sizeof text, nullptr, 0, NI_NUMERICHOST) == 0;
    return isKnown ? text : "";
}

ProbeResult connectTo(const addrinfo& to, Clock::time_point deadline) {
    const util::Descriptor socket(
        ::socket(to.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, to.ai_protocol));
    if (!socket.isOpen())
        return failureOf(errno);
    int error = ::connect(socket.get(), to.ai_addr, to.ai_addrlen) == 0 ? 0 : errno;
    if (error == EINPROGRESS)
        error = awaitConnection(socket.get(), deadline);
    return error == 0 ? ProbeResult{std::nullopt, {}, localHostOf(socket.get())} : failureOf(error);
}

}  // namespace

ProbeResult probe(const std::string& host, std::uint16_t port, std::chrono::milliseconds limit) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (const int error = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
        error != 0)
        return {Cause::UnknownHost, ::gai_strerror(error), {}};
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses(found, &::freeaddrinfo);

    const Clock::time_point deadline = Clock::now() + limit;
    ProbeResult result{Cause::UnknownHost, "no address", {}};
    int tried = 0;
    for (const addrinfo* each = addresses.get(); each != nullptr && tried < kAddressesMax;
         each = each->ai_next, ++tried) {
        result = connectTo(*each, deadline);
        if (!result.failure)
            break;
    }
    return result;
}

}  // namespace kelp::ctl
