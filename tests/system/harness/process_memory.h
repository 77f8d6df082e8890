#pragma once

#include <sys/types.h>

#include <fstream>
#include <string>

namespace kelp::test {

/// Resident memory of a process, in MiB; 0 when it is gone.
inline double residentMib(pid_t process) {
    std::ifstream in("/proc/" + std::to_string(process) + "/status");
    for (std::string word; in >> word;) {
        double kib = 0;
        if (word == "VmRSS:" && in >> kib)
            return kib / 1024;
    }
    return 0;
}

}  // namespace kelp::test
