#pragma once

#include <algorithm>
#include <cstddef>

namespace kelp::notification {

/// The number of steps that an evaluation may take. One step is about one operator, one step of a
/// path, or one element of a sequence. For one thread.
class Budget {
  public:
    explicit Budget(std::size_t steps) : left_(steps) {}

    /// Spend some steps. False if fewer are left; from then on it is always false.
    bool spend(std::size_t steps = 1) {
        isSpent_ = isSpent_ || steps > left_;
        left_ -= std::min(steps, left_);
        return !isSpent_;
    }
    bool isSpent() const { return isSpent_; }

  private:
    std::size_t left_;
    bool isSpent_ = false;
};

}  // namespace kelp::notification
