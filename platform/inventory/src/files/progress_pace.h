#pragma once

#include <kelp/inventory/transfer.h>

#include <chrono>
#include <cstdint>

namespace kelp::inventory {

/// Reports progress at most every 100 ms, and reads the clock only every 256 steps.
class ProgressPace {
  public:
    explicit ProgressPace(const Progress& progress) : progress_(progress) {}

    /// Call it for every step. `done` returns how much is done; it is called only for a report.
    template <class Done>
    void step(Done&& done, std::uint64_t total) {
        constexpr unsigned kStepsALook = 256;
        if (!progress_ || ++steps_ % kStepsALook != 0)
            return;
        const auto now = std::chrono::steady_clock::now();
        if (now - last_ < std::chrono::milliseconds(100))
            return;
        last_ = now;
        progress_(done(), total);
    }
    void end(std::uint64_t total) {
        if (progress_)
            progress_(total, total);
    }

  private:
    const Progress& progress_;
    unsigned steps_ = 0;
    std::chrono::steady_clock::time_point last_{};
};

}  // namespace kelp::inventory
