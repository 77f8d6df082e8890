#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/tcp_peers.h"

namespace kelp::test {

enum class LocateStatus : std::uint32_t { UnknownObject = 0, ObjectHere = 1 };

/// A client that locates objects by their keys alone, with hand-made big-endian messages of GIOP
/// 1.0 or 1.2 on one connection.
class RawLocator {
  public:
    explicit RawLocator(std::uint16_t port, char minor = 2)
        : socket_(connectTo(port)), minor_(minor) {}

    LocateStatus locate(const std::string& key) { return locateAll({key}).front(); }
    /// Send all requests without waiting for replies. Return the answers in the order of the keys.
    std::vector<LocateStatus> locateAll(const std::vector<std::string>& keys) {
        std::string messages;
        for (const std::string& key : keys)
            messages += request(key);
        send(messages);
        std::vector<LocateStatus> answers;
        for (std::size_t i = 0; i < keys.size(); ++i)
            answers.push_back(answer());
        return answers;
    }

  private:
    static std::string number(std::size_t value) {
        std::string bytes;
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes += static_cast<char>(value >> shift & 0xff);
        return bytes;
    }
    std::string request(const std::string& key) {
        // GIOP 1.2 has three kinds of target. A short selects the key, and two octets align what
        // follows.
        const std::string target = minor_ == 2 ? std::string(4, '\0') : std::string();
        const std::string body = number(++lastId_) + target + number(key.size()) + key;
        return std::string("GIOP\x01") + minor_ + std::string("\x00\x03", 2) + number(body.size()) +
               body;
    }
    void send(const std::string& bytes) {
        std::size_t sent = 0;
        while (sent < bytes.size()) {
            const ssize_t count =
                ::send(socket_.fd(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (count <= 0)
                throw std::runtime_error("the connection was closed");
            sent += static_cast<std::size_t>(count);
        }
    }
    std::string receive(std::size_t size) {
        std::string bytes(size, '\0');
        std::size_t have = 0;
        while (have < size) {
            const ssize_t count = ::recv(socket_.fd(), bytes.data() + have, size - have, 0);
            if (count <= 0)
                throw std::runtime_error("the connection was closed");
            have += static_cast<std::size_t>(count);
        }
        return bytes;
    }
    static std::uint32_t numberAt(const std::string& bytes, std::size_t at, bool isLittleEndian) {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            const std::size_t index = isLittleEndian ? 3 - i : i;
            value = value << 8 | static_cast<unsigned char>(bytes.at(at + index));
        }
        return value;
    }
    LocateStatus answer() {
        const std::string header = receive(12);
        const bool isLittleEndian = (header[6] & 1) != 0;
        const std::string body = receive(numberAt(header, 8, isLittleEndian));
        constexpr char locateReply = 4;
        if (header[7] != locateReply)
            throw std::runtime_error("another message than a LocateReply");
        return static_cast<LocateStatus>(numberAt(body, 4, isLittleEndian));
    }

    Socket socket_;
    const char minor_;
    std::uint32_t lastId_ = 0;
};

}  // namespace kelp::test
