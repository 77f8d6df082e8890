#include "connection.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace kelp::host {

namespace {

/// Time for the caller to read the answer and close its side.
constexpr std::chrono::milliseconds kFarewell{500};

}  // namespace

Connection::Connection(util::Descriptor socket, const ConnectionLimits& limits)
    : socket_(std::move(socket)), limits_(limits), readUntil_(Clock::now() + limits.readTime) {}

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
    if (isCut_ || bytesRead_ >= limits_.bytesMax || Clock::now() >= readUntil_ ||
        !waitFor(POLLIN, readUntil_))
        return -1;
    const std::size_t room = std::min(buffer_.size(), limits_.bytesMax - bytesRead_);
    const ssize_t got = ::recv(socket_.get(), buffer_.data(), room, 0);
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
    if (!waitFor(POLLOUT, writeUntil_))
        return -1;
    return ::send(socket_.get(), from, size, MSG_NOSIGNAL);
}

void Connection::get_remote_ip_and_port(std::string& ip, int& port) const {
    ip.clear();
    port = 0;
}

void Connection::get_local_ip_and_port(std::string& ip, int& port) const {
    ip.clear();
    port = 0;
}

}  // namespace kelp::host
