#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <thread>

namespace kelp::nms {

/// SIGINT and SIGTERM, taken off all threads of the process: make it before the first thread is started. As
/// long as a handler is set the first signal calls it; the program then has a limited time to leave in order.
/// When that is over, at any further signal, or without a handler, the process ends at once with 128 + the
/// signal's number.
class Interrupts {
  public:
    /// Called on a thread of its own; the result is how long leaving may take.
    using Handler = std::function<std::chrono::milliseconds()>;

    Interrupts();
    ~Interrupts();
    Interrupts(const Interrupts&) = delete;
    Interrupts& operator=(const Interrupts&) = delete;

    /// Empty takes the handler back.
    void setHandler(Handler handler);

  private:
    void wait();
    std::chrono::milliseconds handle(int signal);

    std::mutex mutex_;
    Handler handler_;  ///< guarded by mutex_
    std::atomic<bool> done_{false};
    std::thread thread_;
};

}  // namespace kelp::nms
