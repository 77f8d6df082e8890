#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

namespace kelp::notification {

class TypeFeed;

/// The thread that notifies peers of changed event types. It makes one call after the other, each
/// with a time-out. It starts with the first change that a peer follows. Feeds take turns, one call
/// each. Thread safe.
class ChangeNotices {
  public:
    explicit ChangeNotices(std::chrono::milliseconds callTimeout);
    /// Calls stop().
    ~ChangeNotices();
    ChangeNotices(const ChangeNotices&) = delete;
    ChangeNotices& operator=(const ChangeNotices&) = delete;

    /// Schedule a feed that has a follower to notify. Does nothing if the feed waits already.
    void schedule(std::shared_ptr<TypeFeed> feed);
    /// From here on no call begins. Does not wait.
    void close();
    /// close(), then wait for the call in progress. Not to be called by the thread itself.
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
