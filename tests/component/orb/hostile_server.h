#pragma once

#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "support/latch.h"
#include "support/tcp_peers.h"

namespace kelp::test {

/// A peer that answers each request with given octets, one connection after the other. GIOP 1.2,
/// little-endian.
class HostileServer {
  public:
    struct Answer {
        std::string octets;
        bool closes = false;       ///< close the connection afterwards
        bool resets = false;       ///< close it afterwards with a reset
        bool isInOctets = false;   ///< send each octet on its own
        Latch* waitsAt = nullptr;  ///< afterwards read nothing until this is open
    };
    /// Receives the request's id and the number of requests before it.
    using Script = std::function<Answer(std::uint32_t number, unsigned before)>;

    explicit HostileServer(Script script) : script_(std::move(script)), listener_(boundSocket()) {
        if (::listen(listener_.fd(), 64) != 0)
            throw std::runtime_error("cannot listen");
        thread_ = std::thread([this] { serve(); });
    }
    ~HostileServer() {
        ends_ = true;
        ::shutdown(listener_.fd(), SHUT_RDWR);
        thread_.join();
    }
    HostileServer(const HostileServer&) = delete;
    HostileServer& operator=(const HostileServer&) = delete;

    std::uint16_t port() const { return portOf(listener_); }
    std::string corbaloc(const std::string& host = "127.0.0.1") const {
        return "corbaloc:iiop:1.2@" + host + ":" + std::to_string(port()) + "/hostile";
    }
    unsigned requests() const { return requests_; }
    unsigned connections() const { return connections_; }

  private:
    static constexpr std::size_t kHeader = 12;

    bool read(int fd, std::string& to, std::size_t octets) const {
        to.resize(octets);
        for (std::size_t done = 0; done < octets && !ends_;) {
            const ssize_t count = ::recv(fd, to.data() + done, octets - done, 0);
            if (count == 0 || (count < 0 && errno != EAGAIN))
                return false;
            done += static_cast<std::size_t>(count < 0 ? 0 : count);
        }
        return !ends_;
    }
    void serve() {
        while (!ends_) {
            const Socket peer(::accept(listener_.fd(), nullptr, nullptr));
            if (peer.fd() < 0)
                return;
            ++connections_;
            const timeval limit{0, 100000};
            ::setsockopt(peer.fd(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
            ::setsockopt(peer.fd(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
            const int yes = 1;
            ::setsockopt(peer.fd(), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
            while (answerOne(peer.fd())) {
            }
        }
    }
    bool answerOne(int fd) {
        std::string header;
        std::string body;
        if (!read(fd, header, kHeader))
            return false;
        std::uint32_t size = 0;
        std::memcpy(&size, header.data() + 8, sizeof size);
        if (!read(fd, body, size))
            return false;
        if (header[7] != 0)
            return true;
        std::uint32_t number = 0;
        std::memcpy(&number, body.data(), sizeof number);
        const Answer answer = script_(number, requests_++);
        for (std::size_t done = 0; done < answer.octets.size() && !ends_;) {
            const std::size_t piece = answer.isInOctets ? 1 : answer.octets.size() - done;
            const ssize_t count = ::send(fd, answer.octets.data() + done, piece, MSG_NOSIGNAL);
            if (count < 0 && errno != EAGAIN)
                return false;
            done += static_cast<std::size_t>(count < 0 ? 0 : count);
        }
        if (answer.waitsAt != nullptr)
            answer.waitsAt->pass();
        if (answer.resets) {
            const linger atOnce{1, 0};
            ::setsockopt(fd, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        }
        return !answer.closes && !answer.resets;
    }

    const Script script_;
    Socket listener_;
    std::atomic<bool> ends_{false};
    std::atomic<unsigned> requests_{0};
    std::atomic<unsigned> connections_{0};
    std::thread thread_;
};

inline std::string littleEndian(std::size_t value) {
    const auto narrow = static_cast<std::uint32_t>(value);
    return {reinterpret_cast<const char*>(&narrow), sizeof narrow};
}

/// GIOP message types.
enum class Giop : char {
    Request = 0,
    Reply = 1,
    CancelRequest = 2,
    LocateReply = 4,
    CloseConnection = 5,
    Error = 6,
    Fragment = 7
};

inline std::string giopMessage(Giop type, const std::string& body, bool moreFragments = false) {
    const char flags = moreFragments ? 3 : 1;
    return std::string("GIOP\1\2", 6) + flags + static_cast<char>(type) +
           littleEndian(body.size()) + body;
}

/// Return the body of a reply. Status 0 is success, 3 is a forward. The content begins at a
/// multiple of 8.
inline std::string replyBody(std::uint32_t number, std::uint32_t status,
                             const std::string& content) {
    return littleEndian(number) + littleEndian(status) + littleEndian(0) + content;
}

inline std::string giopReply(std::uint32_t number, std::uint32_t status = 0,
                             const std::string& content = "") {
    return giopMessage(Giop::Reply, replyBody(number, status, content));
}

}  // namespace kelp::test
