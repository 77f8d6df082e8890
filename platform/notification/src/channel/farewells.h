#pragma once

#include <kelp/util/mutex.h>

#include <cstddef>
#include <deque>
#include <string>

#include "channel/peers.h"
#include "channel/temporary_threads.h"

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
    void tell(Farewell farewell, std::string name) KELP_EXCLUDES(mutex_);
    /// Return freed memory to the system once no farewells are left.
    void giveMemoryBack() KELP_EXCLUDES(mutex_);
    /// From here on no call begins. Waits for the calls in progress.
    void stop() KELP_EXCLUDES(mutex_);

    /// Number of running threads, for tests.
    std::size_t threads() const KELP_EXCLUDES(mutex_);

  private:
    struct Call {
        Farewell farewell;
        std::string name;
    };

    void startIfNeeded() KELP_REQUIRES(mutex_);
    void run(TemporaryThreads::Self self) KELP_EXCLUDES(mutex_);

    mutable util::Mutex mutex_{util::LockRank::Leaf, "Farewells::mutex_"};
    std::deque<Call> waiting_ KELP_GUARDED_BY(mutex_);
    TemporaryThreads threads_ KELP_GUARDED_BY(mutex_);
    bool memoryIsFreed_ KELP_GUARDED_BY(mutex_) = false;
    bool stopping_ KELP_GUARDED_BY(mutex_) = false;
};

}  // namespace kelp::notification
