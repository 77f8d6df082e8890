#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

namespace kelp::nms {

/// SIGINT and SIGTERM, taken off all threads of the process: make it before the first thread is started. As
/// long as a handler is set the first signal calls it; any other signal ends the process at once with 128 +
/// its number.
class Interrupts {
  public:
    Interrupts();
    ~Interrupts();
    Interrupts(const Interrupts&) = delete;
    Interrupts& operator=(const Interrupts&) = delete;

    /// Called on a thread of its own. Empty takes the handler back.
    void setHandler(std::function<void()> handler);

  private:
    void wait();

    std::mutex mutex_;
    std::function<void()> handler_;  ///< guarded by mutex_
    std::atomic<bool> done_{false};
    std::thread thread_;
};

}  // namespace kelp::nms
