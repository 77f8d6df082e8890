#pragma once

#include <kelp/traps/decoder.h>
#include <kelp/util/mutex.h>

#include <cstddef>
#include <deque>
#include <vector>

namespace kelp::traps {

/// A trap that waits to be stored.
struct Waiting {
    Trap trap;
    Decoder::InformId inform = 0;
};

/// Bounded queue between the thread that receives and the one that submits.
class TrapQueue {
  public:
    explicit TrapQueue(std::size_t maximum) : maximum_(maximum) {}

    /// False if the queue is full or closed.
    bool push(Waiting&& waiting) KELP_EXCLUDES(mutex_);
    /// Wait for traps and return up to `countMax` of them; none when the queue is closed and empty.
    std::vector<Waiting> pop(std::size_t countMax) KELP_EXCLUDES(mutex_);
    void close() KELP_EXCLUDES(mutex_);

  private:
    const std::size_t maximum_;
    util::Mutex mutex_{util::LockRank::Service, "TrapQueue::mutex_"};
    util::ConditionVariable changed_;
    std::deque<Waiting> waiting_ KELP_GUARDED_BY(mutex_);
    bool isClosed_ KELP_GUARDED_BY(mutex_) = false;
};

}  // namespace kelp::traps
