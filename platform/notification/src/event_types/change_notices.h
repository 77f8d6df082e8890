#pragma once

#include <kelp/util/mutex.h>

#include <chrono>
#include <deque>
#include <memory>
#include <thread>

namespace kelp::notification {

class FollowedTypes;

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

    /// Schedule types that have a follower to notify. Does nothing if they wait already.
    void schedule(std::shared_ptr<FollowedTypes> types) KELP_EXCLUDES(mutex_);
    /// From here on no call begins. Does not wait.
    void close() KELP_EXCLUDES(mutex_);
    /// close(), then wait for the call in progress. Not to be called by the thread itself.
    void stop() KELP_EXCLUDES(mutex_);

  private:
    void run();
    std::shared_ptr<FollowedTypes> next() KELP_EXCLUDES(mutex_);

    const std::chrono::milliseconds callTimeout_;
    util::Mutex mutex_{util::LockRank::Leaf, "ChangeNotices::mutex_"};
    util::ConditionVariable work_;
    std::deque<std::shared_ptr<FollowedTypes>> waiting_ KELP_GUARDED_BY(mutex_);  // each once
    bool stopping_ KELP_GUARDED_BY(mutex_) = false;
    std::thread thread_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::notification
