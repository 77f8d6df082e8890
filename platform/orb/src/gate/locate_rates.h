#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <unordered_map>

namespace kelp::orb::gate {

/// Counts LocateRequests by address and second. Callable from any thread.
class LocateRates {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// Count a LocateRequest. Return false when the address has used up its limit for the current
    /// second.
    bool take(const std::string& address, unsigned limit, Time now);

  private:
    struct Second {
        Time begin{};
        unsigned count = 0;
    };
    std::mutex mutex_;
    std::unordered_map<std::string, Second> seconds_;  // guarded by mutex_
};

}  // namespace kelp::orb::gate
