#pragma once

#include <sys/types.h>

#include <fstream>
#include <string>

namespace kelp::test {

/// Return the value, in MiB, that the kernel reports under `name` for a process's memory; 0 if the
/// process no longer exists.
inline double memoryMib(pid_t process, const std::string& name) {
    std::ifstream in("/proc/" + std::to_string(process) + "/status");
    for (std::string word; in >> word;) {
        double kib = 0;
        if (word == name + ":" && in >> kib)
            return kib / 1024;
    }
    return 0;
}

/// Resident memory of a process.
inline double residentMib(pid_t process) {
    return memoryMib(process, "VmRSS");
}

/// Maximum address space that a process has had.
inline double peakAddressSpaceMib(pid_t process) {
    return memoryMib(process, "VmPeak");
}

}  // namespace kelp::test
