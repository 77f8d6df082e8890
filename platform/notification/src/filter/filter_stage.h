#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "channel/passing_threads.h"

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
    void schedule(std::shared_ptr<Task> task);
    /// End the threads after the events in progress, and forget what is scheduled.
    void stop();

  private:
    using Lock = std::unique_lock<std::mutex>;
    struct Turns {
        std::deque<std::shared_ptr<Task>> waiting;
        std::size_t atWork = 0;  ///< number of threads
    };
    using Owners = std::map<std::string, Turns>;

    void enqueue(std::shared_ptr<Task> task);
    void startIfNeeded();
    void run(PassingThreads::Self self);
    bool waitForTurn(Lock& lock);
    Owners::iterator nextOwner();
    void serve(Lock& lock, Owners::iterator owner);

    const std::size_t threadsMax_;
    std::mutex mutex_;  // guards what follows
    std::condition_variable work_;
    Owners owners_;
    std::deque<std::string>
        turns_;  ///< owners with waiting tasks, each once, in the order of their turns
    PassingThreads threads_;
    std::size_t idle_ = 0;
    bool stopping_ = false;
};

}  // namespace kelp::notification
