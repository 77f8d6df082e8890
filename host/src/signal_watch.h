#pragma once

#include <kelp/util/mutex.h>

#include <functional>
#include <thread>

namespace kelp::host {

/// Watches the signals that control a service: SIGTERM and SIGINT (stop), SIGHUP (read the
/// configuration again). Construct it before the first thread starts: it blocks these signals, and
/// threads inherit that. SIGPIPE is ignored from then on.
///
/// next() reports the first stop. A second one, at any time, calls `force` on the watch's own
/// thread. `force` must end the process.
class SignalWatch {
  public:
    enum class Event { Stop, Reload };

    explicit SignalWatch(std::function<void()> force);
    ~SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

    /// Wait for the next event. All reloads requested since the last call count as one. A stop is
    /// reported before a reload, and again by every later call.
    Event next() KELP_EXCLUDES(mutex_);
    /// Whether a stop was requested. next() then reports it.
    bool isStopAskedFor() KELP_EXCLUDES(mutex_);

  private:
    void watch();
    void received(int signal) KELP_EXCLUDES(mutex_);

    const std::function<void()> force_;
    int signals_ = -1;  ///< signalfd
    int leaving_ = -1;  ///< eventfd that ends the thread
    util::Mutex mutex_{util::LockRank::Leaf, "SignalWatch::mutex_"};
    util::ConditionVariable changed_;
    bool stop_ KELP_GUARDED_BY(mutex_) = false;
    bool reload_ KELP_GUARDED_BY(mutex_) = false;
    std::thread thread_;
};

}  // namespace kelp::host
