#pragma once

#include <algorithm>
#include <chrono>

namespace kelp::nms {

/// The pauses between attempts. Each pause is twice as long as the previous one, up to a maximum.
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
