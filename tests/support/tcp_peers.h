#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace kelp::test {

/// Owns a file descriptor and closes it.
class Socket {
  public:
    explicit Socket(int fd = -1) : fd_(fd) {}
    Socket(Socket&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Socket& operator=(Socket&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Socket() { close(); }

    int fd() const { return fd_; }
    void close() {
        if (fd_ >= 0)
            ::close(std::exchange(fd_, -1));
    }

  private:
    int fd_;
};

inline sockaddr_in loopbackAddress(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

inline Socket tcpSocket() {
    Socket made(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (made.fd() < 0)
        throw std::runtime_error("no socket");
    return made;
}

/// Return a socket bound to a free port of the loopback interface.
inline Socket boundSocket() {
    Socket made = tcpSocket();
    const sockaddr_in address = loopbackAddress(0);
    if (::bind(made.fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("no free port");
    return made;
}

inline std::uint16_t portOf(const Socket& socket) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (::getsockname(socket.fd(), reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no port");
    return ntohs(address.sin_port);
}

/// Return a port of the loopback interface on which nobody listened a moment ago. Another process
/// may take it before the test uses it: prefer port 0 where the listener can report the port that
/// it got.
inline std::uint16_t freePort() {
    return portOf(boundSocket());
}

/// Connect to a port of the loopback interface, to send bytes that no client sends. `source` is the
/// address that the connection comes from, any of 127.0.0.0/8. The peer may have reset the
/// connection by the time this returns.
inline Socket connectTo(std::uint16_t port, const char* source = "127.0.0.1") {
    Socket made = tcpSocket();
    sockaddr_in own = loopbackAddress(0);
    if (::inet_pton(AF_INET, source, &own.sin_addr) != 1 ||
        ::bind(made.fd(), reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0)
        throw std::runtime_error(std::string("no connection from ") + source);
    const sockaddr_in address = loopbackAddress(port);
    if (::connect(made.fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 &&
        errno != ECONNRESET)
        throw std::system_error(errno, std::generic_category(),
                                "no connection to port " + std::to_string(port));
    return made;
}

/// A peer that hangs: it accepts connections but never answers a request.
class DeafListener {
  public:
    DeafListener() : listener_(boundSocket()) {
        if (::listen(listener_.fd(), 128) != 0)
            throw std::runtime_error("cannot listen");
    }

    std::uint16_t port() const { return portOf(listener_); }
    std::string hostAndPort() const { return "127.0.0.1:" + std::to_string(port()); }
    /// Whether somebody has connected.
    bool hasConnection() const {
        pollfd waiting{listener_.fd(), POLLIN, 0};
        return ::poll(&waiting, 1, 0) == 1;
    }
    /// Return a reference to an object that this peer pretends to have.
    std::string corbaloc(const std::string& key = "Object") const {
        return "corbaloc:iiop:1.2@" + hostAndPort() + "/" + key;
    }

  private:
    Socket listener_;
};

/// An overloaded peer: its backlog is full and nobody accepts, so an attempt to connect gets no
/// answer.
class FullBacklogListener {
  public:
    FullBacklogListener() : listener_(boundSocket()) {
        if (::listen(listener_.fd(), 0) != 0)
            throw std::runtime_error("cannot listen");
        const sockaddr_in address = loopbackAddress(port());
        for (int i = 0; i < 8; ++i) {
            Socket filler = tcpSocket();
            ::fcntl(filler.fd(), F_SETFL, O_NONBLOCK);
            (void)::connect(filler.fd(), reinterpret_cast<const sockaddr*>(&address),
                            sizeof address);
            fillers_.push_back(std::move(filler));
        }
    }

    std::uint16_t port() const { return portOf(listener_); }
    std::string hostAndPort() const { return "127.0.0.1:" + std::to_string(port()); }
    std::string corbaloc(const std::string& key = "Object") const {
        return "corbaloc:iiop:1.2@" + hostAndPort() + "/" + key;
    }

  private:
    Socket listener_;
    std::vector<Socket> fillers_;
};

}  // namespace kelp::test
