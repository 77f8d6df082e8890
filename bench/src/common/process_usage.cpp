#include "common/process_usage.h"

#include <sys/resource.h>
#include <time.h>

#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>

namespace kelp::bench {

namespace {

double statusKib(pid_t process, const std::string& key) {
    std::ifstream in("/proc/" + std::to_string(process) + "/status");
    std::string word;
    double kib = 0;
    while (in >> word) {
        if (word == key && in >> kib)
            return kib;
        in.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    throw std::runtime_error("the process " + std::to_string(process) + " is gone");
}

}  // namespace

std::chrono::nanoseconds processorTime(pid_t process) {
    clockid_t clock{};
    timespec used{};
    if (::clock_getcpuclockid(process, &clock) != 0 || ::clock_gettime(clock, &used) != 0)
        throw std::runtime_error("the process " + std::to_string(process) + " is gone");
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

double residentKib(pid_t process) {
    return statusKib(process, "VmRSS:");
}

double residentPeakKib(pid_t process) {
    return statusKib(process, "VmHWM:");
}

void forgetResidentPeak(pid_t process) {
    const std::string resetPeak = "5";
    std::ofstream out("/proc/" + std::to_string(process) + "/clear_refs");
    if (!(out << resetPeak << std::flush))
        throw std::runtime_error("the peak of the process " + std::to_string(process) +
                                 " cannot be reset");
}

std::size_t connectionsTo(std::uint16_t port) {
    const std::string established = "01";
    std::ifstream in("/proc/net/tcp");
    std::string line;
    std::getline(in, line);
    std::size_t count = 0;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string number;
        std::string local;
        std::string remote;
        std::string state;
        words >> number >> local >> remote >> state;
        const std::size_t colon = remote.find(':');
        if (state == established && colon != std::string::npos &&
            std::stoul(remote.substr(colon + 1), nullptr, 16) == port)
            ++count;
    }
    return count;
}

void raiseOpenFilesLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace kelp::bench
