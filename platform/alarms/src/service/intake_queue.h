#pragma once

#include <kelp/alarms/alarm_service.h>
#include <kelp/util/mutex.h>

#include <chrono>
#include <deque>
#include <future>
#include <memory>
#include <string>
#include <vector>

namespace kelp::alarms {

/// What a record says, without the time.
using Content = decltype(Change::what);

/// Changes of one caller, which stay together.
struct Pending {
    std::vector<Content> changes;
    std::string key;  ///< idempotency key; empty: none
    /// When the caller gives up on a disk that fails.
    std::chrono::steady_clock::time_point deadline;
    std::promise<std::vector<Result>> result;
};
using PendingPtr = std::unique_ptr<Pending>;

/// The changes that wait to be written. Any thread may call it.
class IntakeQueue {
  public:
    /// `changesMax`: a submission waits while the queue has this many changes.
    explicit IntakeQueue(std::size_t changesMax) : changesMax_(changesMax) {}

    /// Add a submission, after waiting for room until its deadline. A submission that is larger
    /// than the whole queue enters it when it is empty. Throws IntakeRefused.
    void push(PendingPtr pending) KELP_EXCLUDES(mutex_);
    /// Add a submission only if there is room now.
    bool tryPush(PendingPtr& pending) KELP_EXCLUDES(mutex_);
    /// Wait for submissions and take the oldest: at least one, and no further ones beyond
    /// `changesMax` changes in all. Empty once the queue was closed and all were taken.
    std::vector<PendingPtr> take(std::size_t changesMax) KELP_EXCLUDES(mutex_);
    /// Refuse further submissions and wake those that wait.
    void close() KELP_EXCLUDES(mutex_);

    std::size_t changes() const KELP_EXCLUDES(mutex_);

  private:
    bool hasRoomFor(std::size_t changes) const KELP_REQUIRES(mutex_) {
        return changes_ == 0 || changes_ + changes <= changesMax_;
    }
    void add(PendingPtr pending) KELP_REQUIRES(mutex_);

    const std::size_t changesMax_;
    mutable util::Mutex mutex_{util::LockRank::Leaf, "IntakeQueue::mutex_"};
    util::ConditionVariable notEmpty_;
    util::ConditionVariable hasRoom_;
    std::deque<PendingPtr> waiting_ KELP_GUARDED_BY(mutex_);
    std::size_t changes_ KELP_GUARDED_BY(mutex_) = 0;
    bool isClosed_ KELP_GUARDED_BY(mutex_) = false;
};

}  // namespace kelp::alarms
