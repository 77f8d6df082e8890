#pragma once

#include <kelp/util/mutex.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace kelp::host {

/// Notifies systemd's watchdog (WatchdogSec=) as long as no thread is stuck. A host with a stuck
/// thread is traced and, after the watchdog's time, restarted by systemd. Does nothing when systemd
/// does not watch this process. Its thread ends when the object is destroyed.
class Watchdog {
  public:
    using Notify = std::function<void()>;
    using Stuck = std::function<std::vector<std::string>()>;

    Watchdog();
    /// `period`: the time between two notifications. `notify` is called in each in which `stuck`
    /// returns no thread.
    Watchdog(std::chrono::microseconds period, Notify notify, Stuck stuck);
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

  private:
    void run() KELP_EXCLUDES(mutex_);
    void round();
    /// Wait for the next round. Return false when the object is about to be destroyed.
    bool pause() KELP_EXCLUDES(mutex_);

    const std::chrono::microseconds period_;
    const Notify notify_;
    const Stuck stuck_;
    std::vector<std::string> known_;  ///< the stuck threads of the last round
    util::Mutex mutex_{util::LockRank::Leaf, "Watchdog::mutex_"};
    util::ConditionVariable ending_;
    bool isEnding_ KELP_GUARDED_BY(mutex_) = false;
    std::thread thread_;
};

}  // namespace kelp::host
