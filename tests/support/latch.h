#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace kelp::test {

/// Threads wait at the latch until it is opened. If a test fails to open it, it opens
/// automatically, so that nothing hangs. The destructor waits for the threads that have passed.
class Latch {
  public:
    Latch() = default;
    ~Latch() {
        open();
        std::unique_lock<std::mutex> guard(lock_);
        changed_.wait(guard, [this] { return waiting_ == 0; });
    }
    Latch(const Latch&) = delete;
    Latch& operator=(const Latch&) = delete;

    void open() {
        const std::lock_guard<std::mutex> guard(lock_);
        open_ = true;
        changed_.notify_all();
    }

    void pass() {
        std::unique_lock<std::mutex> guard(lock_);
        ++waiting_;
        changed_.notify_all();
        changed_.wait_for(guard, std::chrono::seconds(60), [this] { return open_; });
        --waiting_;
        changed_.notify_all();
    }

    /// True as soon as `count` threads wait at the latch simultaneously.
    bool isReachedBy(int count) {
        std::unique_lock<std::mutex> guard(lock_);
        return changed_.wait_for(guard, std::chrono::seconds(20),
                                 [&] { return waiting_ >= count; });
    }
    bool isReached() { return isReachedBy(1); }

  private:
    std::mutex lock_;
    std::condition_variable changed_;
    bool open_ = false;
    int waiting_ = 0;
};

}  // namespace kelp::test
