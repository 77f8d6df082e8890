#include "connecting_sockets.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <charconv>
#include <filesystem>
#include <string>
#include <system_error>

namespace kelp::orb {

namespace {

bool isConnecting(int descriptor) {
    tcp_info info{};
    socklen_t length = sizeof info;
    return ::getsockopt(descriptor, IPPROTO_TCP, TCP_INFO, &info, &length) == 0 &&
           info.tcpi_state == TCP_SYN_SENT;
}

/// Return the number in the name of an entry below /proc/self/fd; -1 for any other name.
int descriptorOf(const std::string& name) {
    int descriptor = -1;
    std::from_chars(name.data(), name.data() + name.size(), descriptor);
    return descriptor;
}

}  // namespace

void ConnectingSockets::shutOlderThan(std::chrono::milliseconds age, Clock::time_point now) {
    std::map<ino_t, Clock::time_point> seen;
    std::error_code error;
    for (std::filesystem::directory_iterator each("/proc/self/fd", error), end;
         !error && each != end; each.increment(error)) {
        const int descriptor = descriptorOf(each->path().filename().string());
        struct stat status {};
        if (descriptor < 0 || !isConnecting(descriptor) || ::fstat(descriptor, &status) != 0)
            continue;
        const auto before = seen_.find(status.st_ino);
        const Clock::time_point since = before != seen_.end() ? before->second : now;
        seen.emplace(status.st_ino, since);
        // a descriptor that was closed and reused in between is shut down too, but the process is
        // stopping and would end that connection anyway
        if (now - since >= age)
            ::shutdown(descriptor, SHUT_RDWR);
    }
    seen_.swap(seen);
}

}  // namespace kelp::orb
