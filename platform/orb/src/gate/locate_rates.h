#pragma once

#include <kelp/util/mutex.h>

#include <chrono>
#include <string>
#include <unordered_map>

namespace kelp::orb::gate {

/// Counts LocateRequests by address and second. Callable from any thread.
class LocateRates {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// Count a LocateRequest. Return false when the address has used up its limit for the current
    /// second.
    bool take(const std::string& address, unsigned limit, Time now) KELP_EXCLUDES(mutex_);

  private:
    struct Second {
        Time begin{};
        unsigned count = 0;
    };
    util::Mutex mutex_{util::LockRank::Leaf, "LocateRates::mutex_"};
    std::unordered_map<std::string, Second> seconds_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::orb::gate
