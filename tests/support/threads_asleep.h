#pragma once

#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>

namespace kelp::test {

/// True if every other thread of this process sleeps, so the threads that are expected to wait have
/// begun to wait.
inline bool allOthersSleep() {
    const std::filesystem::path self("/proc/self/task/" + std::to_string(::gettid()));
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream file(task.path() / "stat");
        std::string stat;
        std::getline(file, stat);
        const std::size_t afterName = stat.rfind(") ");
        if (task.path() != self && afterName != std::string::npos && stat[afterName + 2] != 'S')
            return false;
    }
    return true;
}

}  // namespace kelp::test
