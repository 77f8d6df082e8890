#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>

namespace kelp::ctl {

/// An even pace of `perSecond` items a second, of which the first is due at once. At high rates,
/// the items that are due within one tick are sent together.
class Pace {
  public:
    using Duration = std::chrono::duration<double>;

    /// Minimum time from one batch to the next.
    static constexpr Duration kTick{0.02};

    Pace(double perSecond, std::uint64_t count) : perSecond_(perSecond), count_(count) {}

    /// Return how many items are due at the time `since` after the beginning.
    std::uint64_t due(Duration since) const {
        return std::min(count_, static_cast<std::uint64_t>(since.count() * perSecond_) + 1);
    }
    /// Return when to continue, as time after the beginning. `sent` items have been sent, and the
    /// last batch was sent at `since`.
    Duration next(std::uint64_t sent, Duration since) const {
        return std::max(Duration(static_cast<double>(sent) / perSecond_), since + kTick);
    }

  private:
    const double perSecond_;
    const std::uint64_t count_;
};

}  // namespace kelp::ctl
