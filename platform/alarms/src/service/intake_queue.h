#pragma once

#include <kelp/alarms/alarm_service.h>
#include <kelp/util/mutex.h>

#include <chrono>
#include <deque>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kelp::alarms {

/// What a record says, without the time.
using Content = decltype(Change::what);

/// About how many octets of memory a change uses.
std::size_t memoryOf(const Content& change);

/// Changes of one caller, which stay together.
struct Pending {
    void add(Content change) {
        octets += memoryOf(change);
        changes.push_back(std::move(change));
    }

    std::vector<Content> changes;
    std::size_t octets = 0;  ///< by memoryOf()
    std::string key;         ///< idempotency key; empty: none
    /// When the caller gives up on a disk that fails.
    std::chrono::steady_clock::time_point deadline;
    std::promise<std::vector<Result>> result;
};
using PendingPtr = std::unique_ptr<Pending>;

/// The changes that wait to be written. Any thread may call it.
class IntakeQueue {
  public:
    /// A number of changes and their octets by memoryOf().
    struct Amount {
        std::size_t changes = 0;
        std::size_t octets = 0;

        static Amount of(const Pending& pending) {
            return {pending.changes.size(), pending.octets};
        }
        Amount operator+(const Amount& other) const {
            return {changes + other.changes, octets + other.octets};
        }
        Amount operator-(const Amount& other) const {
            return {changes - other.changes, octets - other.octets};
        }
        bool isWithin(const Amount& limit) const {
            return changes <= limit.changes && octets <= limit.octets;
        }
    };

    /// A submission waits while the queue has no room for it within the limit.
    explicit IntakeQueue(const Amount& limit) : limit_(limit) {}

    /// Add a submission, after waiting for room until its deadline. A submission that is larger
    /// than the whole queue enters it when it is empty. Throws IntakeRefused.
    void push(PendingPtr pending) KELP_EXCLUDES(mutex_);
    /// Add a submission only if there is room now.
    bool tryPush(PendingPtr& pending) KELP_EXCLUDES(mutex_);
    /// Wait for submissions and take the oldest: at least one, and no further ones beyond the limit
    /// in all. Empty once the queue was closed and all were taken.
    std::vector<PendingPtr> take(const Amount& limit) KELP_EXCLUDES(mutex_);
    /// Refuse further submissions and wake those that wait.
    void close() KELP_EXCLUDES(mutex_);

    std::size_t changes() const KELP_EXCLUDES(mutex_);

  private:
    bool hasRoomFor(const Pending& pending) const KELP_REQUIRES(mutex_) {
        return waiting_.empty() || (amount_ + Amount::of(pending)).isWithin(limit_);
    }
    void add(PendingPtr pending) KELP_REQUIRES(mutex_);

    const Amount limit_;
    mutable util::Mutex mutex_{util::LockRank::Leaf, "IntakeQueue::mutex_"};
    util::ConditionVariable notEmpty_;
    util::ConditionVariable hasRoom_;
    std::deque<PendingPtr> waiting_ KELP_GUARDED_BY(mutex_);
    Amount amount_ KELP_GUARDED_BY(mutex_);  ///< of waiting_
    bool isClosed_ KELP_GUARDED_BY(mutex_) = false;
};

}  // namespace kelp::alarms
