#include "giop_probe.h"

#include <kelp/util/descriptor.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

namespace kelp::host {

namespace {

using util::Descriptor;

using Clock = std::chrono::steady_clock;

constexpr std::size_t kHeaderBytes = 12;
constexpr std::uint8_t kLocateRequest = 3;
constexpr std::uint8_t kLocateReply = 4;
constexpr std::uint32_t kObjectHere = 1;
constexpr std::uint32_t kObjectForward = 2;

void append(std::vector<std::uint8_t>& bytes, std::uint32_t number) {
    for (const int shift : {24, 16, 8, 0})
        bytes.push_back(static_cast<std::uint8_t>(number >> shift));
}

std::vector<std::uint8_t> locateRequest(const std::string& key) {
    constexpr std::uint32_t kRequestId = 1;
    // version 1.0, big endian
    std::vector<std::uint8_t> bytes = {'G', 'I', 'O', 'P', 1, 0, 0, kLocateRequest};
    append(bytes, static_cast<std::uint32_t>(4 + 4 + key.size()));
    append(bytes, kRequestId);
    append(bytes, static_cast<std::uint32_t>(key.size()));
    bytes.insert(bytes.end(), key.begin(), key.end());
    return bytes;
}

/// One number of a message, in the byte order that its header's flag names.
std::uint32_t numberAt(const std::uint8_t* bytes, bool littleEndian) {
    std::uint32_t number = 0;
    for (int i = 0; i < 4; ++i)
        number = number << 8 | bytes[littleEndian ? 3 - i : i];
    return number;
}

bool waitFor(int socket, short event, Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd waiting{socket, event, 0};
    return left.count() > 0 && ::poll(&waiting, 1, static_cast<int>(left.count())) == 1;
}

Descriptor connected(const std::string& host, std::uint16_t port, Clock::time_point deadline) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0)
        return Descriptor();
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses(found, &::freeaddrinfo);
    Descriptor socket(::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (::connect(socket.get(), found->ai_addr, found->ai_addrlen) != 0) {
        int problem = errno == EINPROGRESS ? 0 : errno;
        socklen_t length = sizeof problem;
        if (problem != 0 || !waitFor(socket.get(), POLLOUT, deadline) ||
            ::getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &problem, &length) != 0 || problem != 0)
            return Descriptor();
    }
    return socket;
}

bool receive(int socket, std::uint8_t* bytes, std::size_t count, Clock::time_point deadline) {
    while (count > 0) {
        if (!waitFor(socket, POLLIN, deadline))
            return false;
        const ssize_t got = ::recv(socket, bytes, count, 0);
        if (got <= 0)
            return false;
        bytes += got;
        count -= static_cast<std::size_t>(got);
    }
    return true;
}

}  // namespace

bool portAccepts(const std::string& host, std::uint16_t port, std::chrono::milliseconds limit) {
    return connected(host, port, Clock::now() + limit).isOpen();
}

bool objectAnswers(const std::string& host, std::uint16_t port, const std::string& key,
                   std::chrono::milliseconds limit) {
    const auto deadline = Clock::now() + limit;
    const Descriptor socket = connected(host, port, deadline);
    if (!socket.isOpen())
        return false;
    const std::vector<std::uint8_t> request = locateRequest(key);
    if (::send(socket.get(), request.data(), request.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(request.size()))
        return false;
    std::array<std::uint8_t, kHeaderBytes + 8> reply{};  // header, request id, status
    if (!receive(socket.get(), reply.data(), reply.size(), deadline))
        return false;
    const bool littleEndian = (reply[6] & 1) != 0;
    const std::uint32_t status = numberAt(reply.data() + kHeaderBytes + 4, littleEndian);
    return std::memcmp(reply.data(), "GIOP", 4) == 0 && reply[7] == kLocateReply &&
           (status == kObjectHere || status == kObjectForward);
}

}  // namespace kelp::host
