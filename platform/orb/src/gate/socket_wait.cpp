#include "socket_wait.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace kelp::orb::gate {

void waitUntilReadable(int descriptor) {
    constexpr int forEver = -1;
    pollfd waiting{descriptor, POLLIN, 0};
    (void)::poll(&waiting, 1, forEver);  // the next read reports an error
}

bool waitUntilWritable(int descriptor, std::chrono::steady_clock::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return false;
        pollfd waiting{descriptor, POLLOUT, 0};
        constexpr auto longest = std::numeric_limits<int>::max();
        const int count = ::poll(
            &waiting, 1,
            static_cast<int>(std::min<std::chrono::milliseconds::rep>(left.count(), longest)));
        if (count > 0)
            return true;
        if (count < 0 && errno != EINTR)
            return true;  // the next send() reports the error
    }
}

}  // namespace kelp::orb::gate
