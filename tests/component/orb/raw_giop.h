#pragma once

#include <sys/socket.h>
#include <sys/time.h>

#include <cstdint>
#include <string>

#include "support/tcp_peers.h"

namespace kelp::test {

/// Return a big-endian GIOP 1.0 request, for a client that misbehaves.
inline std::string giopRequest(const std::string& objectKey, const std::string& operation,
                               const std::string& arguments = "") {
    const auto number = [](std::size_t value) {
        std::string bytes;
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes += static_cast<char>(value >> shift & 0xff);
        return bytes;
    };
    const auto aligned = [](std::string bytes) {
        while (bytes.size() % 4 != 0)
            bytes += '\0';
        return bytes;
    };
    // no service contexts, request 1, reply expected
    std::string body = number(0) + number(1) + aligned("\x01");
    body += number(objectKey.size()) + aligned(objectKey);
    body += number(operation.size() + 1) + aligned(operation + '\0');
    body += number(0) + arguments;  // no principal
    return std::string("GIOP\x01\x00\x00\x00", 8) + number(body.size()) + body;
}

/// Return a little-endian GIOP 1.2 request. Its arguments begin at a multiple of 8.
inline std::string giop12Request(const std::string& objectKey, const std::string& operation,
                                 const std::string& arguments) {
    const auto number = [](std::size_t value) {
        std::string bytes;
        for (int shift = 0; shift <= 24; shift += 8)
            bytes += static_cast<char>(value >> shift & 0xff);
        return bytes;
    };
    const auto padded = [](std::string bytes, std::size_t size) {
        bytes.resize((bytes.size() + size - 1) / size * size);
        return bytes;
    };
    // request 7, reply expected, addressed by key, no service contexts
    std::string body = number(7) + std::string("\x03\x00\x00\x00", 4) + number(0) +
                       padded(number(objectKey.size()) + objectKey, 4) +
                       padded(number(operation.size() + 1) + operation + '\0', 4) + number(0);
    constexpr std::size_t header = 12;
    body = padded(std::string(header, '\0') + body, 8).substr(header) + arguments;
    return std::string("GIOP\x01\x02\x01\x00", 8) + number(body.size()) + body;
}

inline void sendBytes(const Socket& socket, const std::string& bytes) {
    (void)::send(socket.fd(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

/// True if the peer closes the connection within some seconds. Data that it sends before is
/// discarded.
inline bool isClosedByPeer(const Socket& socket) {
    const timeval limit{20, 0};
    ::setsockopt(socket.fd(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    char buffer[4096];
    for (;;) {
        const ssize_t count = ::recv(socket.fd(), buffer, sizeof buffer, 0);
        // ENOTCONN: it was reset before connectTo returned
        if (count == 0 || (count < 0 && (errno == ECONNRESET || errno == ENOTCONN)))
            return true;
        if (count < 0)
            return false;
    }
}

}  // namespace kelp::test
