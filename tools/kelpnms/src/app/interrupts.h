#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <thread>

namespace kelp::nms {

/// SIGINT and SIGTERM, taken off all threads of the process: make it before the first thread is
/// started. As long as a handler is set the first signal calls it; the program then has a limited
/// time to leave in order. When that is over, at any further signal, or without a handler, the
/// process ends at once with 128 + the signal's number.
class Interrupts {
  public:
    /// Called on a thread of its own; the result is how long leaving may take.
    using Handler = std::function<std::chrono::milliseconds()>;

    Interrupts();
    ~Interrupts();
    Interrupts(const Interrupts&) = delete;
    Interrupts& operator=(const Interrupts&) = delete;

    /// Empty takes the handler back. `lastWords` is called, on the same thread, before the process
    /// ends at once after the handler.
    void setHandler(Handler handler, std::function<void()> lastWords = nullptr);
    /// The first signal that came; 0 when none has.
    int signal() const { return signal_; }

  private:
    void wait();
    std::chrono::milliseconds handle(int signal);

    void sayLastWords();

    std::mutex mutex_;
    Handler handler_;                  ///< guarded by mutex_
    std::function<void()> lastWords_;  ///< guarded by mutex_
    std::atomic<int> signal_{0};
    std::atomic<bool> done_{false};
    std::thread thread_;
};

}  // namespace kelp::nms
