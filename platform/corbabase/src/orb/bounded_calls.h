#pragma once

#include <kelp/orb/timeouts.h>

#include <algorithm>
#include <atomic>
#include <chrono>

namespace NS_CORBA {

/// Limits the total time of several outgoing calls of one thread. A call made after the limit has
/// passed, or after the flag was set, fails at once with the ORB's time-out.
class BoundedCalls {
  public:
    using Milliseconds = std::chrono::milliseconds;

    BoundedCalls(Milliseconds limit, const std::atomic<bool>& cancelled)
        : end_(Clock::now() + limit), cancelled_(cancelled) {}

    template <class Call>
    auto operator()(Call call) const {
        return within(Milliseconds::max(), call);
    }
    /// The same, with an additional limit for this call.
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
