#pragma once

#include <optional>

#include "support/latch.h"

namespace kelp::test {

/// During its lifetime, one of the calling thread's next non-throwing allocations fails.
class FailingAllocation {
  public:
    /// Let the `nth` allocation fail, counted from 1.
    explicit FailingAllocation(int nth);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    /// False if there were fewer than `nth` allocations.
    bool hasHappened() const;
};

/// During its lifetime, one of the calling thread's next throwing allocations fails. Allocations by
/// the ORB and ACE are excluded, because these libraries do not survive a failure.
class FailingNew {
  public:
    explicit FailingNew(int nth);
    ~FailingNew();
    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;
    bool hasHappened() const;
};

/// During its lifetime, the agent cannot start an ACE thread from the calling thread.
class NoThreads {
  public:
    NoThreads();
    ~NoThreads();
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;
};

/// During its lifetime, one of the agent's next attempts to lock a reader-writer lock for writing
/// fails.
class FailingWriteLock {
  public:
    explicit FailingWriteLock(int nth);
    ~FailingWriteLock();
    FailingWriteLock(const FailingWriteLock&) = delete;
    FailingWriteLock& operator=(const FailingWriteLock&) = delete;
    bool hasHappened() const;
};

/// During its lifetime, one of the agent's next attempts to lock a reader-writer lock for writing
/// waits at a gate, then succeeds.
class PausedWriteLock {
  public:
    PausedWriteLock(int nth, Latch& gate);
    ~PausedWriteLock();
    PausedWriteLock(const PausedWriteLock&) = delete;
    PausedWriteLock& operator=(const PausedWriteLock&) = delete;
};

/// Values that the base configuration returns instead of the configured ones.
struct BaseConfigFaults {
    static std::optional<int> maxSession;
    static bool hasNoRootPoa;
};

}  // namespace kelp::test
