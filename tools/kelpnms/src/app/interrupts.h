#pragma once

#include <kelp/util/mutex.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

namespace kelp::nms {

/// Handles SIGINT and SIGTERM. It blocks them in all threads of the process, so construct it before
/// the first thread is started. While a handler is set, the first signal calls it; the handler
/// returns the time that the program has to leave in order. The process exits at once with 128 +
/// the signal's number when that time is over, at a second signal, or when no handler is set.
class Interrupts {
  public:
    /// Called on a thread that belongs to this object. Returns the time that the program has to
    /// leave.
    using Handler = std::function<std::chrono::milliseconds()>;

    Interrupts();
    ~Interrupts();
    Interrupts(const Interrupts&) = delete;
    Interrupts& operator=(const Interrupts&) = delete;

    /// Set the handler; an empty one removes it. `lastWords` is called on the same thread just
    /// before the process exits because the time is over or a second signal has come.
    void setHandler(Handler handler, std::function<void()> lastWords = nullptr);
    /// The first signal received, or 0 if none has been.
    int signal() const { return signal_; }

  private:
    void wait();
    std::chrono::milliseconds handle(int signal);

    void sayLastWords();

    /// Also held while the handler or the last words are called.
    util::Mutex mutex_{util::LockRank::NmsInterrupts, "Interrupts::mutex_"};
    Handler handler_ KELP_GUARDED_BY(mutex_);
    std::function<void()> lastWords_ KELP_GUARDED_BY(mutex_);
    std::atomic<int> signal_{0};
    std::atomic<bool> done_{false};
    std::thread thread_;
};

}  // namespace kelp::nms
