#pragma once

#include <atomic>
#include <cstdint>

namespace kelp::example {

/// What has happened since the start. Any thread may read and change it.
struct Counts {
    std::atomic<std::uint64_t> files{0};         ///< read to their end and accepted completely
    std::atomic<std::uint64_t> reports{0};       ///< accepted
    std::atomic<std::uint64_t> refusedLines{0};  ///< lines that are no valid report
    std::atomic<std::uint64_t> refusedFiles{0};  ///< files moved to the folder "refused"
    std::atomic<std::uint64_t> waits{0};         ///< submissions to be repeated later
};

}  // namespace kelp::example
