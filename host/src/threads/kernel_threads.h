#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kelp::host {

/// A thread of this process as the kernel describes it.
struct KernelThread {
    int id = 0;
    std::string name;  ///< at most 15 bytes; threads that the ORB starts have the process's name
    std::string
        state;  ///< "running", "sleeping", "waiting for a disk", or another of the kernel's states
    double processorSeconds = 0;
};

/// Parse the line that /proc has in `stat` of a thread. Empty for another text.
std::optional<KernelThread> kernelThreadOf(const std::string& stat, long ticksPerSecond);

/// The threads that `/proc/self/task` lists, in the order of their numbers. A thread that ends
/// meanwhile is left out.
std::vector<KernelThread> kernelThreads(const std::filesystem::path& folder = "/proc/self/task");

}  // namespace kelp::host
