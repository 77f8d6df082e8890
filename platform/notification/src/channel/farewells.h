#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <string>

#include "channel/passing_threads.h"
#include "channel/peers.h"

namespace kelp::notification {

/// Disconnects peers on separate threads, so that nobody waits for a peer that does not answer. At
/// most 4 threads start with the first farewell and end when there are none left. The last thread
/// returns freed memory to the system. Thread safe.
class Farewells {
  public:
    Farewells() = default;
    /// Calls stop().
    ~Farewells();
    Farewells(const Farewells&) = delete;
    Farewells& operator=(const Farewells&) = delete;

    /// Have a thread call say() soon. Does nothing if the farewell is empty or 2000 are waiting.
    void tell(Farewell farewell, std::string name);
    /// Return freed memory to the system once no farewells are left.
    void giveMemoryBack();
    /// From here on no call begins. Waits for the calls in progress.
    void stop();

    /// Number of running threads, for tests.
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
