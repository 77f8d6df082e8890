#pragma once

#include <kelp/inventory/transfer.h>

#include <chrono>
#include <cstdint>

namespace kelp::inventory {

/// Tells of progress now and then, looking at the clock seldom.
class ProgressPace {
  public:
    explicit ProgressPace(const Progress& progress) : progress_(progress) {}

    /// To be called often. `done` answers how much is done; asked only when it is told.
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
