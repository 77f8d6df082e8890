#pragma once

#include <kelp/util/mutex.h>

#include <atomic>
#include <chrono>
#include <cstdint>

namespace kelp::inventory {

/// Wakes the readers of changes when this process commits one. One for the process. Any thread.
class ChangeSignal {
  public:
    static ChangeSignal& instance();

    void notify() KELP_EXCLUDES(mutex_);
    /// Wake all who wait, because one of them is to end.
    void wakeAll() KELP_EXCLUDES(mutex_);
    std::uint64_t count() KELP_EXCLUDES(mutex_);
    /// Wait while count() is `seen` and `isStopping` is not set.
    void waitWhile(std::uint64_t seen, const std::atomic<bool>& isStopping,
                   std::chrono::steady_clock::time_point until) KELP_EXCLUDES(mutex_);

  private:
    util::Mutex mutex_{util::LockRank::Service, "ChangeSignal::mutex_"};
    util::ConditionVariable changed_;
    std::uint64_t count_ KELP_GUARDED_BY(mutex_) = 0;
};

}  // namespace kelp::inventory
