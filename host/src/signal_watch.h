#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace kelp::host {

/// The signals that a service is told things by: SIGTERM and SIGINT (stop), SIGHUP (read the
/// configuration again). Make it before the first thread is started: it blocks them, and threads
/// inherit that. The first stop is reported by next(); a second one, at any time, calls `force` on
/// the watch's own thread, which shall end the process. SIGPIPE is ignored from here on.
class SignalWatch {
  public:
    enum class Event { Stop, Reload };

    explicit SignalWatch(std::function<void()> force);
    ~SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

    /// Waits for the next event. Reloads that were asked for meanwhile count as one; a stop comes
    /// first and stays.
    Event next();
    /// Whether a stop was asked for; next() reports it then.
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
