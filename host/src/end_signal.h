#pragma once

#include <kelp/util/mutex.h>

#include <chrono>

namespace kelp::host {

/// Lets a thread pause between its rounds until its owner ends it. Any thread may call it.
class EndSignal {
  public:
    /// End the pause in progress and all later ones.
    void raise() KELP_EXCLUDES(mutex_) {
        {
            const util::MutexLock lock(mutex_);
            isRaised_ = true;
        }
        raised_.notify_all();
    }
    /// Wait for `time`. Return false, at once, when the signal is raised.
    bool pause(std::chrono::steady_clock::duration time) KELP_EXCLUDES(mutex_) {
        const auto end = std::chrono::steady_clock::now() + time;
        const util::MutexLock lock(mutex_);
        while (!isRaised_) {
            if (raised_.wait_until(mutex_, end) == util::ConditionVariable::Status::timeout)
                return !isRaised_;
        }
        return false;
    }

  private:
    util::Mutex mutex_{util::LockRank::Leaf, "EndSignal::mutex_"};
    util::ConditionVariable raised_;
    bool isRaised_ KELP_GUARDED_BY(mutex_) = false;
};

}  // namespace kelp::host
