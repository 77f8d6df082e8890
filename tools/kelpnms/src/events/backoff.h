#pragma once

#include <algorithm>
#include <chrono>

namespace kelp::nms {

/// Pauses between attempts: each twice the one before it, up to a longest.
class Backoff {
  public:
    Backoff(std::chrono::milliseconds first, std::chrono::milliseconds longest)
        : longest_(longest), next_(std::min(first, longest)) {}

    std::chrono::milliseconds next() {
        const auto pause = next_;
        next_ = std::min(next_ * 2, longest_);
        return pause;
    }

  private:
    const std::chrono::milliseconds longest_;
    std::chrono::milliseconds next_;
};

}  // namespace kelp::nms
