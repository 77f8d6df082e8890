#include "plain_channel.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace kelp::orb::gate {

namespace {

bool wouldWait(int error) {
    return error == EAGAIN || error == EWOULDBLOCK;
}

/// False when the time is over.
bool waitUntilWritable(int descriptor, std::chrono::steady_clock::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return false;
        pollfd waiting{descriptor, POLLOUT, 0};
        constexpr auto longest = std::numeric_limits<int>::max();
        const int count = ::poll(
            &waiting, 1, static_cast<int>(std::min<std::chrono::milliseconds::rep>(left.count(), longest)));
        if (count > 0)
            return true;
        if (count < 0 && errno != EINTR)
            return true;  // send() says what is wrong
    }
}

}  // namespace

PlainChannel::~PlainChannel() {
    ::close(descriptor_);
}

long PlainChannel::receive(std::span<std::uint8_t> into, Wait wait) {
    for (;;) {
        const ssize_t count =
            ::recv(descriptor_, into.data(), into.size(), wait == Wait::No ? MSG_DONTWAIT : 0);
        if (count > 0)
            return count;
        if (count == 0)
            return kEnded;
        if (errno == EINTR)
            continue;
        return wouldWait(errno) ? kLater : kEnded;
    }
}

long PlainChannel::send(std::span<const std::uint8_t> octets, std::chrono::milliseconds limit) {
    std::chrono::steady_clock::time_point deadline;
    bool waited = false;
    for (;;) {
        const ssize_t count = ::send(descriptor_, octets.data(), octets.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count > 0)
            return count;
        if (count < 0 && errno == EINTR)
            continue;
        if (count == 0 || !wouldWait(errno))
            return kEnded;
        if (!waited)
            deadline = std::chrono::steady_clock::now() + limit;
        waited = true;
        if (!waitUntilWritable(descriptor_, deadline))
            return kLater;
    }
}

void PlainChannel::shutDown() {
    ::shutdown(descriptor_, SHUT_RDWR);
}

}  // namespace kelp::orb::gate
