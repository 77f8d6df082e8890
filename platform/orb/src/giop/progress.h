#pragma once

#include <chrono>
#include <cstddef>

namespace kelp::orb::giop {

/// How fast unfinished input must arrive: in each window at least the minimum, or its end.
struct ProgressRule {
    std::chrono::milliseconds window{10000};
    std::size_t octetsPerWindow = 10240;
};

/// Tracks whether one unfinished message keeps to the rule.
class Progress {
  public:
    using Time = std::chrono::steady_clock::time_point;
    using Duration = std::chrono::steady_clock::duration;

    Progress(const ProgressRule& rule, Time now) : deadline_(now + rule.window) {}

    void arrived(std::size_t octets, const ProgressRule& rule, Time now) {
        octets_ += octets;
        if (octets_ < rule.octetsPerWindow)
            return;
        octets_ = 0;
        deadline_ = now + rule.window;
    }
    /// The time after which the input counts as abandoned.
    Time deadline() const { return deadline_; }
    void postpone(Duration time) { deadline_ += time; }

  private:
    std::size_t octets_ = 0;  ///< received in the current window
    Time deadline_;
};

}  // namespace kelp::orb::giop
