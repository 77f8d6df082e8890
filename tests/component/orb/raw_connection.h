#pragma once

#include <gtest/gtest.h>
#include <poll.h>

#include <cstdint>
#include <optional>
#include <string>

#include "raw_giop.h"
#include "support/giop_messages.h"
#include "support/tcp_peers.h"

namespace kelp::test {

/// A message from the ORB, with the fields that tests read.
struct Answer {
    GiopType type = GiopType::MessageError;
    std::uint32_t id = 0;
    /// Of a Reply: 0 result, 1 user exception, 2 system exception, 3 forward.
    std::uint32_t status = 0;
    std::string content;  ///< the whole message
};

/// A connection on which a test sends single octets, in GIOP 1.2.
class RawConnection {
  public:
    explicit RawConnection(std::uint16_t port, const char* source = "127.0.0.1")
        : socket_(connectTo(port, source)) {}

    void send(const std::string& bytes) const { sendBytes(socket_, bytes); }

    /// Return the next message; none if the peer closes or sends nothing for 20 s.
    std::optional<Answer> receive() const {
        const std::string header = exactly(12);
        if (header.size() != 12)
            return std::nullopt;
        const bool littleEndian = (header[6] & 1) != 0;
        Answer answer;
        answer.type = static_cast<GiopType>(header[7]);
        answer.content = header + exactly(numberAt(header, 8, littleEndian));
        if (answer.content.size() >= 20) {
            answer.id = static_cast<std::uint32_t>(numberAt(answer.content, 12, littleEndian));
            answer.status = static_cast<std::uint32_t>(numberAt(answer.content, 16, littleEndian));
        }
        return answer;
    }

    bool isClosed() const { return isClosedByPeer(socket_); }
    /// True if the peer neither sends anything nor closes during this time.
    bool isSilentFor(int milliseconds) const {
        pollfd waiting{socket_.fd(), POLLIN, 0};
        return ::poll(&waiting, 1, milliseconds) == 0;
    }
    const Socket& socket() const { return socket_; }
    void close() { socket_.close(); }

  private:
    static std::size_t numberAt(const std::string& bytes, std::size_t at, bool littleEndian) {
        std::size_t value = 0;
        for (std::size_t i = 0; i < 4; ++i)
            value = value << 8 | static_cast<unsigned char>(bytes[at + (littleEndian ? 3 - i : i)]);
        return value;
    }

    std::string exactly(std::size_t count) const {
        const timeval limit{20, 0};
        ::setsockopt(socket_.fd(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        std::string bytes(count, '\0');
        const ssize_t got = ::recv(socket_.fd(), bytes.data(), count, MSG_WAITALL);
        bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
        return bytes;
    }

    Socket socket_;
};

}  // namespace kelp::test
