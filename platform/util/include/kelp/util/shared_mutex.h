#pragma once

#include <kelp/util/lock_rank.h>
#include <kelp/util/thread_safety.h>

#include <shared_mutex>

namespace kelp::util {

/// A lock that either one thread holds for writing or several threads hold for reading. Clang's
/// thread-safety analysis knows it. It has a rank, which counts for both ways of locking, so a
/// thread never holds it twice: not even for reading, because a writer may be waiting in between.
class KELP_THREAD_SAFETY(capability("mutex")) SharedMutex : public RankedLock {
  public:
    /// `name` is for messages and must live as long as the mutex: a string literal.
    SharedMutex(LockRank rank, const char* name) : RankedLock(rank, name) {}

    void lock() KELP_ACQUIRE() {
        beforeLock();
        native_.lock();
        afterLock();
    }
    void unlock() KELP_RELEASE() {
        beforeUnlock();
        native_.unlock();
    }
    void lock_shared() KELP_ACQUIRE_SHARED() {
        beforeLock();
        native_.lock_shared();
        afterLock();
    }
    void unlock_shared() KELP_RELEASE_SHARED() {
        beforeUnlock();
        native_.unlock_shared();
    }

  private:
    std::shared_mutex native_;
};

/// Holds a shared mutex for writing for a scope.
class KELP_THREAD_SAFETY(scoped_lockable) ExclusiveLock {
  public:
    explicit ExclusiveLock(SharedMutex& mutex) KELP_ACQUIRE(mutex) : mutex_(mutex) {
        mutex_.lock();
    }
    ~ExclusiveLock() KELP_RELEASE() { mutex_.unlock(); }
    ExclusiveLock(const ExclusiveLock&) = delete;
    ExclusiveLock& operator=(const ExclusiveLock&) = delete;

  private:
    SharedMutex& mutex_;
};

/// Holds a shared mutex for reading for a scope.
class KELP_THREAD_SAFETY(scoped_lockable) SharedLock {
  public:
    explicit SharedLock(SharedMutex& mutex) KELP_ACQUIRE_SHARED(mutex) : mutex_(mutex) {
        mutex_.lock_shared();
    }
    ~SharedLock() KELP_RELEASE() { mutex_.unlock_shared(); }
    SharedLock(const SharedLock&) = delete;
    SharedLock& operator=(const SharedLock&) = delete;

  private:
    SharedMutex& mutex_;
};

}  // namespace kelp::util
