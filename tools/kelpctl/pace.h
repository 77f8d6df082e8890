#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>

namespace kelp::ctl {

/// An even pace: so many of something a second, the first at once. At high rates those of a tick go
/// together.
class Pace {
  public:
    using Duration = std::chrono::duration<double>;

    /// At least this long from one batch to the next.
    static constexpr Duration kTick{0.02};

    Pace(double perSecond, std::uint64_t count) : perSecond_(perSecond), count_(count) {}

    /// How many should have been sent so long after the beginning.
    std::uint64_t due(Duration since) const {
        return std::min(count_, static_cast<std::uint64_t>(since.count() * perSecond_) + 1);
    }
    /// When to look again, after the beginning, with `sent` done and the last look at `since`.
    Duration next(std::uint64_t sent, Duration since) const {
        return std::max(Duration(static_cast<double>(sent) / perSecond_), since + kTick);
    }

  private:
    const double perSecond_;
    const std::uint64_t count_;
};

}  // namespace kelp::ctl
