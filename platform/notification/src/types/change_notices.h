#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

namespace kelp::notification {

class TypeFeed;

/// The thread that tells peers of changed event types, one call after the other, each with a
/// time-out. It begins with the first change that somebody follows. Feeds take turns, a call each.
/// Thread safe.
class ChangeNotices {
  public:
    explicit ChangeNotices(std::chrono::milliseconds callTimeout);
    /// stop().
    ~ChangeNotices();
    ChangeNotices(const ChangeNotices&) = delete;
    ChangeNotices& operator=(const ChangeNotices&) = delete;

    /// Somebody who follows this feed is behind. Harmless when the feed is waiting already.
    void schedule(std::shared_ptr<TypeFeed> feed);
    /// No call begins from here on. Does not wait.
    void close();
    /// close(), and waits for the call in progress. Not to be called by the thread itself.
    void stop();

  private:
    using Lock = std::unique_lock<std::mutex>;

    void run();
    std::shared_ptr<TypeFeed> next();

    const std::chrono::milliseconds callTimeout_;
    std::mutex mutex_;  // guards what follows
    std::condition_variable work_;
    std::deque<std::shared_ptr<TypeFeed>> waiting_;  // each once
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace kelp::notification
