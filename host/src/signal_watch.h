#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
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

    /// Wait for the next event. Reloads requested in the meantime count as one. A stop is reported
    /// first, and by every later call too.
    Event next();
    /// Whether a stop was requested. next() then reports it.
    bool isStopAskedFor();

  private:
    void watch();
    void received(int signal);

    const std::function<void()> force_;
    int signals_ = -1;  ///< signalfd
    int leaving_ = -1;  ///< eventfd that ends the thread
    std::mutex mutex_;
    std::condition_variable changed_;
    bool stop_ = false;    ///< guarded by mutex_
    bool reload_ = false;  ///< guarded by mutex_
    std::thread thread_;
};

}  // namespace kelp::host
