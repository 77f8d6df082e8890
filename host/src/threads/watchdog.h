#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "end_signal.h"

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
    void run();
    void round();

    const std::chrono::microseconds period_;
    const Notify notify_;
    const Stuck stuck_;
    std::vector<std::string> known_;  ///< the stuck threads of the last round
    EndSignal ending_;
    std::thread thread_;
};

}  // namespace kelp::host
