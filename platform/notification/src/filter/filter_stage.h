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

/// The threads that filter events for the consumers that have filters. Owners take turns, and one
/// of them never has all threads: however much the filters of one cost, they delay its own events
/// alone. The threads begin with the first task and end when there has been none for 10 s. Thread
/// safe.
class FilterStage {
  public:
    using Clock = std::chrono::steady_clock;

    /// The events that wait to be filtered for one consumer.
    class Task {
      public:
        virtual ~Task() = default;
        /// Of the consumer; the same as long as the task is scheduled.
        virtual std::string ownerKey() const = 0;
        /// Filters until then, at least one event. True: more are waiting.
        virtual bool work(Clock::time_point until) = 0;
    };

    /// At least two.
    explicit FilterStage(std::size_t threads);
    /// stop().
    ~FilterStage();
    FilterStage(const FilterStage&) = delete;
    FilterStage& operator=(const FilterStage&) = delete;

    /// Has the task work soon, until it says that nothing more is waiting. It must not be scheduled
    /// already.
    void schedule(std::shared_ptr<Task> task);
    /// Ends the threads after the events in hand; what is scheduled is forgotten.
    void stop();

  private:
    using Lock = std::unique_lock<std::mutex>;
    struct Turns {
        std::deque<std::shared_ptr<Task>> waiting;
        std::size_t atWork = 0;  ///< threads
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
    std::deque<std::string> turns_;  ///< owners with waiting tasks, each once; the next one first
    PassingThreads threads_;
    std::size_t idle_ = 0;
    bool stopping_ = false;
};

}  // namespace kelp::notification
