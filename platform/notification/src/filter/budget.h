#pragma once

#include <algorithm>
#include <cstddef>

namespace kelp::notification {

/// The steps that an evaluation may take: about one for an operator, a step of a path, or an
/// element looked at. For one thread.
class Budget {
  public:
    explicit Budget(std::size_t steps) : left_(steps) {}

    /// Takes some steps; false when there are not as many left, and from then on.
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
