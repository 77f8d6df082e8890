#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>

/// What the ORB's threads report to the thread that follows the alarms.
class News {
  public:
    using Clock = std::chrono::steady_clock;

    void put(std::string what) {
        const std::lock_guard lock(mutex_);
        waiting_.push_back(std::move(what));
        changed_.notify_all();
    }
    /// The same, unless other news wait: they are followed by a new view of the list anyway.
    void putIfEmpty(std::string what) {
        const std::lock_guard lock(mutex_);
        if (waiting_.empty())
            waiting_.push_back(std::move(what));
        changed_.notify_all();
    }
    /// Return the next news; none at the deadline, or when the NMS is to end.
    std::optional<std::string> take(Clock::time_point deadline, std::stop_token end) {
        std::unique_lock lock(mutex_);
        if (!changed_.wait_until(lock, end, deadline, [this] { return !waiting_.empty(); }))
            return std::nullopt;
        std::string what = std::move(waiting_.front());
        waiting_.pop_front();
        return what;
    }
    /// When an event was received last.
    void heard() {
        const std::lock_guard lock(mutex_);
        heard_ = Clock::now();
    }
    std::chrono::seconds silence() const {
        const std::lock_guard lock(mutex_);
        return std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - heard_);
    }

  private:
    mutable std::mutex mutex_;
    std::condition_variable_any changed_;
    std::deque<std::string> waiting_;
    Clock::time_point heard_ = Clock::now();
};
