#include "omniorb/calls/socket_line.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <span>

namespace kelp::orb {

namespace {

using std::chrono::milliseconds;
using util::MutexLock;

/// The reply of a push is short. Something longer is no reply of one.
constexpr std::size_t kReplyOctetsMax = std::size_t{64} * 1024;
constexpr std::size_t kGiopHeaderOctets = 12;
constexpr std::uint8_t kMoreFragments = 2;
constexpr std::uint8_t kLittleEndian = 1;

bool hasDeadline(const omni_time_t& deadline) {
    return deadline.s != 0 || deadline.ns != 0;
}

/// The time left until a deadline in the ORB's absolute time, rounded up; 0 if it is over.
milliseconds leftUntil(const omni_time_t& deadline) {
    omni_time_t now;
    omni_thread::get_time(now, omni_time_t(0, 0));
    const auto seconds = static_cast<std::int64_t>(deadline.s) - static_cast<std::int64_t>(now.s);
    const auto nanoseconds =
        static_cast<std::int64_t>(deadline.ns) - static_cast<std::int64_t>(now.ns);
    const auto left = std::chrono::seconds(seconds) + std::chrono::nanoseconds(nanoseconds);
    return std::max(std::chrono::ceil<milliseconds>(left), milliseconds(0));
}

bool mayTryAgain(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

/// Wait until the socket is ready. False at the deadline.
bool waitFor(int descriptor, short what, const omni_time_t& deadline) {
    pollfd watched{descriptor, what, 0};
    for (;;) {
        int wait = -1;
        if (hasDeadline(deadline)) {
            const milliseconds left = leftUntil(deadline);
            if (left.count() == 0)
                return false;
            wait = static_cast<int>(std::min<milliseconds::rep>(left.count(), 1'000'000));
        }
        const int ready = ::poll(&watched, 1, wait);
        if (ready > 0 || (ready < 0 && errno != EINTR))
            return true;  // an error shows itself in the next call
    }
}

}  // namespace

int SocketLine::send(const void* octets, std::size_t size, const omni_time_t& deadline) {
    const auto* const first = static_cast<const std::uint8_t*>(octets);
    if (mode_ == Mode::Keeps && !unsent_.empty()) {
        unsent_.insert(unsent_.end(), first, first + size);
        return static_cast<int>(size);
    }
    for (;;) {
        const ssize_t sent = ::send(descriptor_, octets, size, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent < 0 && !mayTryAgain(errno))
            return -1;
        if (mode_ == Mode::Keeps) {
            unsent_.assign(first + std::max<ssize_t>(sent, 0), first + size);
            return static_cast<int>(size);
        }
        if (sent > 0)
            return static_cast<int>(sent);
        if (!waitFor(descriptor_, POLLOUT, deadline))
            return 0;
    }
}

int SocketLine::receive(void* octets, std::size_t size, const omni_time_t& deadline) {
    if (taken_ < received_.size()) {
        const std::size_t count = std::min(size, received_.size() - taken_);
        std::memcpy(octets, received_.data() + taken_, count);
        taken_ += count;
        return static_cast<int>(count);
    }
    if (mode_ == Mode::Ended)
        return isExpired_ ? 0 : -1;
    return receiveFromSocket(octets, size, deadline);
}

/// The system limits the waiting, so that a call that is answered in time needs no poll.
int SocketLine::receiveFromSocket(void* octets, std::size_t size, const omni_time_t& deadline) {
    for (;;) {
        milliseconds limit{0};
        if (hasDeadline(deadline)) {
            limit = leftUntil(deadline);
            if (limit.count() == 0)
                return 0;
        }
        if (!setReceiveLimit(limit) && !waitFor(descriptor_, POLLIN, deadline))
            return 0;
        const ssize_t count = ::recv(descriptor_, octets, size, 0);
        if (count > 0)
            return static_cast<int>(count);
        if (count == 0 || !mayTryAgain(errno))
            return -1;
        if (!waitFor(descriptor_, POLLIN, deadline))
            return 0;
    }
}

/// Rounded up, so that the calls with one limit set it once.
bool SocketLine::setReceiveLimit(milliseconds limit) {
    const milliseconds step(limit >= std::chrono::seconds(1) ? 100 : 10);
    const milliseconds rounded = (limit + step - milliseconds(1)) / step * step;
    if (rounded == receiveLimit_)
        return true;
    timeval time{};
    time.tv_sec = static_cast<time_t>(rounded.count() / 1000);
    time.tv_usec = static_cast<suseconds_t>(rounded.count() % 1000 * 1000);
    if (::setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time) != 0)
        return false;
    receiveLimit_ = rounded;
    return true;
}

void SocketLine::beginKeeping() {
    mode_ = Mode::Keeps;
    isExpired_ = false;
    unsent_.clear();
    keptSent_ = 0;
}

std::unique_ptr<SocketLine::Awaited> SocketLine::proceed(Clock::time_point now) {
    const MutexLock lock(mutex_);
    if (!awaited_)
        return nullptr;
    isExpired_ = now >= deadline_;
    if (sendKept() && !collect() && !isExpired_)
        return nullptr;
    mode_ = Mode::Ended;
    return std::move(awaited_);
}

void SocketLine::endAwaiting() {
    mode_ = Mode::Waits;
    // what follows the reply, such as the end of the connection, is for the next call
    received_.erase(received_.begin(), received_.begin() + static_cast<std::ptrdiff_t>(taken_));
    taken_ = 0;
}

/// Return false if the connection has failed.
bool SocketLine::sendKept() {
    while (keptSent_ < unsent_.size()) {
        const ssize_t sent = ::send(descriptor_, unsent_.data() + keptSent_,
                                    unsent_.size() - keptSent_, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent < 0)
            return mayTryAgain(errno);
        keptSent_ += static_cast<std::size_t>(sent);
    }
    if (!unsent_.empty()) {
        unsent_ = {};
        keptSent_ = 0;
    }
    return true;
}

/// Receive the octets that have arrived. Return true if nothing more is to come.
bool SocketLine::collect() {
    std::array<std::uint8_t, 2048> some;
    while (!isReplyComplete()) {
        const ssize_t count = ::recv(descriptor_, some.data(), some.size(), MSG_DONTWAIT);
        if (count < 0 && mayTryAgain(errno))
            return false;
        if (count <= 0 || received_.size() + static_cast<std::size_t>(count) > kReplyOctetsMax)
            return true;
        received_.insert(received_.end(), some.begin(), some.begin() + count);
    }
    return true;
}

/// Whether the octets received hold all messages of the reply (CORBA 15.4.1, 15.4.9), or something
/// that is not GIOP and need not be waited for.
bool SocketLine::isReplyComplete() const {
    std::span<const std::uint8_t> rest(received_);
    while (rest.size() >= kGiopHeaderOctets) {
        const std::uint8_t flags = rest[6];
        std::size_t size = 0;
        for (std::size_t i = 0; i < 4; ++i)
            size = size << 8 | rest[(flags & kLittleEndian) != 0 ? 11 - i : 8 + i];
        if (rest.size() - kGiopHeaderOctets < size)
            return size > kReplyOctetsMax;
        if ((flags & kMoreFragments) == 0)
            return true;
        rest = rest.subspan(kGiopHeaderOctets + size);
    }
    return false;
}

}  // namespace kelp::orb
