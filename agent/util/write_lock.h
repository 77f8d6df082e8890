#pragma once

#include <ace/RW_Mutex.h>
#include <kelp/util/lock_rank.h>
#include <kelp/util/thread_safety.h>

namespace NS_KELPCORBA {

/// A reader-writer lock of ACE with a rank. It is locked by WriteLock only: the locks of sessions
/// and iterators are always taken for writing.
class KELP_THREAD_SAFETY(capability("mutex")) WriteMutex : public kelp::util::RankedLock {
  public:
    /// `name` is for messages and must live as long as the mutex: a string literal.
    WriteMutex(kelp::util::LockRank rank, const char* name) : RankedLock(rank, name) {}

  private:
    friend class WriteLock;

    bool acquire() {
        beforeLock();
        if (native_.acquire_write() == -1)
            return false;
        afterLock();
        return true;
    }
    void release() {
        beforeUnlock();
        native_.release();
    }

    ACE_RW_Mutex native_;
};

/// Holds a mutex for a scope. Locking may fail: then errno is set and locked() returns false. Most
/// callers go on nevertheless, so the thread-safety analysis takes the mutex as held in any case.
class KELP_THREAD_SAFETY(scoped_lockable) WriteLock {
  public:
    explicit WriteLock(WriteMutex& mutex) KELP_ACQUIRE(mutex)
        : mutex_(mutex), isLocked_(mutex.acquire()) {}
    ~WriteLock() KELP_RELEASE() {
        if (isLocked_)
            mutex_.release();
    }
    WriteLock(const WriteLock&) = delete;
    WriteLock& operator=(const WriteLock&) = delete;

    bool locked() const { return isLocked_; }

  private:
    WriteMutex& mutex_;
    const bool isLocked_;
};

}  // namespace NS_KELPCORBA
