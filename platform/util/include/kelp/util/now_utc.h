#pragma once

#include <chrono>
#include <cstdint>

namespace kelp::util {

/// Return the current time in seconds since the epoch.
inline std::int64_t nowUtc() {
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

}  // namespace kelp::util
