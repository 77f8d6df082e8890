#pragma once

#include <kelp/util/mutex.h>

#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <string>

#include "channel/temporary_threads.h"

namespace kelp::notification {

/// The threads that filter events for consumers with filters. Owners take turns, and no owner ever
/// has all threads. However costly one owner's filters are, they delay only its own events. The
/// threads start with the first task and end after 10 s without one. Any thread may call it.
class FilterStage {
  public:
    using Clock = std::chrono::steady_clock;

    /// Events that wait to be filtered for one consumer.
    class Task {
      public:
        virtual ~Task() = default;
        /// The key of the consumer's owner. It must not change while the task is scheduled.
        virtual std::string ownerKey() const = 0;
        /// Filter events until the given time, at least one. True if more events are waiting.
        virtual bool work(Clock::time_point until) = 0;
    };

    /// `threads` is at least 2; a smaller number counts as 2.
    explicit FilterStage(std::size_t threads);
    /// Calls stop().
    ~FilterStage();
    FilterStage(const FilterStage&) = delete;
    FilterStage& operator=(const FilterStage&) = delete;

    /// Let the task work soon, until it returns that no more events are waiting. The task must not
    /// be scheduled already.
    void schedule(std::shared_ptr<Task> task) KELP_EXCLUDES(mutex_);
    /// End the threads after the events in progress, and forget what is scheduled.
    void stop() KELP_EXCLUDES(mutex_);

  private:
    struct Turns {
        std::deque<std::shared_ptr<Task>> waiting;
        std::size_t atWork = 0;  ///< number of threads
    };
    using Owners = std::map<std::string, Turns>;

    void enqueue(std::shared_ptr<Task> task) KELP_REQUIRES(mutex_);
    void startIfNeeded() KELP_REQUIRES(mutex_);
    void run(TemporaryThreads::Self self) KELP_EXCLUDES(mutex_);
    bool waitForTurn() KELP_REQUIRES(mutex_);
    Owners::iterator nextOwner() KELP_REQUIRES(mutex_);
    void serve(Owners::iterator owner) KELP_REQUIRES(mutex_);

    const std::size_t threadsMax_;
    util::Mutex mutex_{util::LockRank::ChannelPart, "FilterStage::mutex_"};
    util::ConditionVariable work_;
    Owners owners_ KELP_GUARDED_BY(mutex_);
    /// Owners with waiting tasks, each once, in the order of their turns.
    std::deque<std::string> turns_ KELP_GUARDED_BY(mutex_);
    TemporaryThreads threads_ KELP_GUARDED_BY(mutex_);
    std::size_t idle_ KELP_GUARDED_BY(mutex_) = 0;
    bool stopping_ KELP_GUARDED_BY(mutex_) = false;
};

}  // namespace kelp::notification
