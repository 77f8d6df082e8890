#include "plain_channel.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "socket_wait.h"

namespace kelp::orb::gate {

namespace {

bool wouldWait(int error) {
    return error == EAGAIN || error == EWOULDBLOCK;
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
        const ssize_t count =
            ::send(descriptor_, octets.data(), octets.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
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
