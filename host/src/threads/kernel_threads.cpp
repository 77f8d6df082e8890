#include "threads/kernel_threads.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>

namespace kelp::host {

namespace {

std::string stateText(char state) {
    switch (state) {
        case 'R':
            return "running";
        case 'S':
            return "sleeping";
        case 'D':
            return "waiting for a disk";
        default:
            return std::string(1, state);
    }
}

}  // namespace

std::optional<KernelThread> kernelThreadOf(const std::string& stat, long ticksPerSecond) {
    // the name is in parentheses and may contain any character, also parentheses
    const std::size_t open = stat.find('(');
    const std::size_t close = stat.rfind(')');
    if (open == std::string::npos || close == std::string::npos || close < open ||
        ticksPerSecond <= 0)
        return std::nullopt;
    KernelThread thread;
    if (std::from_chars(stat.data(), stat.data() + open, thread.id).ec != std::errc())
        return std::nullopt;
    thread.name = stat.substr(open + 1, close - open - 1);
    std::istringstream rest(stat.substr(close + 1));
    const std::vector<std::string> fields(std::istream_iterator<std::string>(rest), {});
    // counted from the state: user and system time in clock ticks
    constexpr std::size_t kUserTime = 11;
    constexpr std::size_t kSystemTime = 12;
    if (fields.size() <= kSystemTime)
        return std::nullopt;
    thread.state = stateText(fields[0][0]);
    std::uint64_t ticks = 0;
    for (const std::size_t index : {kUserTime, kSystemTime}) {
        const std::string& field = fields[index];
        std::uint64_t value = 0;
        if (std::from_chars(field.data(), field.data() + field.size(), value).ec != std::errc())
            return std::nullopt;
        ticks += value;
    }
    thread.processorSeconds = static_cast<double>(ticks) / static_cast<double>(ticksPerSecond);
    return thread;
}

std::vector<KernelThread> kernelThreads(const std::filesystem::path& folder) {
    std::vector<KernelThread> threads;
    const long ticksPerSecond = ::sysconf(_SC_CLK_TCK);
    std::error_code error;
    for (std::filesystem::directory_iterator each(folder, error), end; !error && each != end;
         each.increment(error)) {
        std::ifstream in(each->path() / "stat");
        std::string line;
        if (!std::getline(in, line))
            continue;
        if (const auto thread = kernelThreadOf(line, ticksPerSecond))
            threads.push_back(*thread);
    }
    std::sort(threads.begin(), threads.end(),
              [](const KernelThread& a, const KernelThread& b) { return a.id < b.id; });
    return threads;
}

}  // namespace kelp::host
