#pragma once

#include <optional>

#include "component/orb/gate.h"

namespace kelp::test {

/// While it lives, one of the calling thread's next allocations that may fail without throwing does
/// fail.
class FailingAllocation {
  public:
    /// The `nth`, from 1 on.
    explicit FailingAllocation(int nth);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    /// False when there were fewer allocations than that.
    bool hasHappened() const;
};

/// The same for the calling thread's next allocations that throw when they fail, but for those that
/// the ORB and ACE make themselves: neither survives that.
class FailingNew {
  public:
    explicit FailingNew(int nth);
    ~FailingNew();
    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;
    bool hasHappened() const;
};

/// While it lives, the agent can start no thread by ACE on the calling thread.
class NoThreads {
  public:
    NoThreads();
    ~NoThreads();
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;
};

/// The same for the agent's next attempts to lock a reader-writer lock for writing.
class FailingWriteLock {
  public:
    explicit FailingWriteLock(int nth);
    ~FailingWriteLock();
    FailingWriteLock(const FailingWriteLock&) = delete;
    FailingWriteLock& operator=(const FailingWriteLock&) = delete;
    bool hasHappened() const;
};

/// The same, but the attempt waits at a gate first and does not fail.
class PausedWriteLock {
  public:
    PausedWriteLock(int nth, Gate& gate);
    ~PausedWriteLock();
    PausedWriteLock(const PausedWriteLock&) = delete;
    PausedWriteLock& operator=(const PausedWriteLock&) = delete;
};

/// What the base configuration answers in place of what is configured.
struct BaseConfigFaults {
    static std::optional<int> maxSession;
    static bool hasNoRootPoa;
};

}  // namespace kelp::test
