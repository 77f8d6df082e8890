#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <string>

#include "channel/passing_threads.h"
#include "channel/peers.h"

namespace kelp::notification {

/// Tells peers of their end by separate threads, so that nobody waits for a peer that does not
/// answer. There are a few; they begin with the first farewell and end when there are no more. The
/// last one gives freed memory back to the system. Thread safe.
class Farewells {
  public:
    Farewells() = default;
    /// stop().
    ~Farewells();
    Farewells(const Farewells&) = delete;
    Farewells& operator=(const Farewells&) = delete;

    /// Has say() make the call soon; not with 2000 of them waiting already. Nothing for an empty
    /// one.
    void tell(Farewell farewell, std::string name);
    /// Gives freed memory back to the system once there are no more farewells.
    void giveMemoryBack();
    /// No call begins from here on; waits for those in progress.
    void stop();

    /// Threads at work; for tests.
    std::size_t threads() const;

  private:
    using Lock = std::unique_lock<std::mutex>;
    struct Call {
        Farewell farewell;
        std::string name;
    };

    void startIfNeeded(Lock& lock);
    void run(PassingThreads::Self self);

    mutable std::mutex mutex_;  // guards what follows
    std::deque<Call> waiting_;
    PassingThreads threads_;
    bool memoryIsFreed_ = false;
    bool stopping_ = false;
};

}  // namespace kelp::notification
