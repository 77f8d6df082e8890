#pragma once

#include <kelp/orb/timeouts.h>

#include <algorithm>
#include <atomic>
#include <chrono>

namespace NS_CORBA {

/// Outgoing calls of one thread that together take no longer than a limit. What is called after
/// that, or after the flag was set, fails at once with the ORB's time-out.
class BoundedCalls {
  public:
    using Milliseconds = std::chrono::milliseconds;

    BoundedCalls(Milliseconds limit, const std::atomic<bool>& cancelled)
        : end_(Clock::now() + limit), cancelled_(cancelled) {}

    template <class Call>
    auto operator()(Call call) const {
        return within(Milliseconds::max(), call);
    }
    /// The same in at most so much of the time that is left.
    template <class Call>
    auto within(Milliseconds most, Call call) const {
        const auto left = std::chrono::duration_cast<Milliseconds>(end_ - Clock::now());
        const bool mayCall = !cancelled_ && left.count() > 0;
        const kelp::orb::ScopedThreadTimeout limit(mayCall ? std::min(most, left)
                                                           : Milliseconds(-1));
        return call();
    }

  private:
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end_;
    const std::atomic<bool>& cancelled_;
};

}  // namespace NS_CORBA
