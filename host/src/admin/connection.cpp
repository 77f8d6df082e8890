#include "connection.h"

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <utility>

namespace kelp::host {

namespace {

/// Time for the caller to read the answer and close its side.
constexpr std::chrono::milliseconds kFarewell{500};

/// The peer of a TCP connection.
util::PeerAddress peerOf(int socket) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    std::array<char, NI_MAXHOST> host{};
    std::array<char, NI_MAXSERV> port{};
    const auto* const generic = reinterpret_cast<const sockaddr*>(&address);
    if (::getpeername(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0 ||
        address.ss_family == AF_UNIX ||
        ::getnameinfo(generic, size, host.data(), host.size(), port.data(), port.size(),
                      NI_NUMERICHOST | NI_NUMERICSERV) != 0)
        return {};
    util::PeerAddress peer = util::parseHostAddress(host.data());
    std::from_chars(port.data(), port.data() + std::strlen(port.data()), peer.port);
    return peer;
}

}  // namespace

Connection::Connection(util::Descriptor socket, const ConnectionLimits& limits)
    : socket_(std::move(socket)),
      limits_(limits),
      peer_(peerOf(socket_.get())),
      peerNetwork_(networkOf(peer_)),
      readUntil_(Clock::now() + limits.readTime) {}

bool Connection::owesRequestFor(std::chrono::milliseconds time) const {
    const Clock::time_point since = readingSince_;
    return !isCut_ && since != Clock::time_point::max() && Clock::now() - since >= time;
}

void Connection::cut() {
    isCut_ = true;
    ::shutdown(socket_.get(), SHUT_RD);  // wakes a reader that waits
}

void Connection::finish() {
    ::shutdown(socket_.get(), SHUT_WR);
    const Clock::time_point until = Clock::now() + kFarewell;
    while (!isCut_ && waitFor(POLLIN, until)) {
        if (::recv(socket_.get(), buffer_.data(), buffer_.size(), 0) <= 0)
            return;
    }
}

bool Connection::waitFor(short what, Clock::time_point until) const {
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count();
        pollfd waiting{socket_.get(), what, 0};
        const int ready = ::poll(&waiting, 1, static_cast<int>(std::max<decltype(left)>(left, 0)));
        if (ready > 0)
            return true;
        if (ready == 0 || errno != EINTR)
            return false;
    }
}

bool Connection::is_readable() const {
    return bufferBegin_ < bufferEnd_ || (!isCut_ && waitFor(POLLIN, readUntil_));
}

bool Connection::is_writable() const {
    return waitFor(POLLOUT, Clock::now());
}

ssize_t Connection::fill() {
    if (bytesRead_ == 0)
        readingSince_ = Clock::now();
    // also check the time: the wait below ends only when nothing arrives, so a caller that keeps
    // sending single bytes would never reach its limit
    if (isCut_ || bytesRead_ >= limits_.bytesMax || Clock::now() >= readUntil_)
        return -1;
    const std::size_t room = std::min(buffer_.size(), limits_.bytesMax - bytesRead_);
    const ssize_t got = receive(buffer_.data(), room, readUntil_);
    bufferBegin_ = 0;
    bufferEnd_ = static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    bytesRead_ += bufferEnd_;
    return got;
}

ssize_t Connection::read(char* to, std::size_t size) {
    if (bufferBegin_ == bufferEnd_) {
        if (const ssize_t got = fill(); got <= 0)
            return got;
    }
    const std::size_t taken = std::min(size, bufferEnd_ - bufferBegin_);
    std::memcpy(to, buffer_.data() + bufferBegin_, taken);
    bufferBegin_ += taken;
    return static_cast<ssize_t>(taken);
}

ssize_t Connection::write(const char* from, std::size_t size) {
    readingSince_ = Clock::time_point::max();
    if (writeUntil_ == Clock::time_point{})
        writeUntil_ = Clock::now() + limits_.writeTime;
    return send(from, size, writeUntil_);
}

ssize_t Connection::receive(char* to, std::size_t room, Clock::time_point until) {
    return waitFor(POLLIN, until) ? ::recv(socket_.get(), to, room, 0) : -1;
}

ssize_t Connection::send(const char* from, std::size_t size, Clock::time_point until) {
    return waitFor(POLLOUT, until) ? ::send(socket_.get(), from, size, MSG_NOSIGNAL) : -1;
}

void Connection::get_remote_ip_and_port(std::string& ip, int& port) const {
    ip = peer_.text;
    port = peer_.port;
}

void Connection::get_local_ip_and_port(std::string& ip, int& port) const {
    ip.clear();
    port = 0;
}

}  // namespace kelp::host
