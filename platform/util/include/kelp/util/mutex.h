#pragma once

#include <kelp/util/lock_rank.h>
#include <kelp/util/thread_safety.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace kelp::util {

/// A mutual-exclusion lock that clang's thread-safety analysis knows. It has a rank, and a thread
/// may lock it only while every lock it already holds has a lower rank. Debug builds check that and
/// abort with the names of both. Not recursive.
class KELP_THREAD_SAFETY(capability("mutex")) Mutex : public RankedLock {
  public:
    /// `name` is for messages and must live as long as the mutex: a string literal.
    constexpr Mutex(LockRank rank, const char* name) : RankedLock(rank, name) {}

    void lock() KELP_ACQUIRE() {
        beforeLock();
        native_.lock();
        afterLock();
    }
    void unlock() KELP_RELEASE() {
        beforeUnlock();
        native_.unlock();
    }
    /// Lock the mutex if it is free, whatever its rank: no thread waits here. It counts as held for
    /// the locks that follow.
    bool try_lock() KELP_TRY_ACQUIRE(true) {
        if (!native_.try_lock())
            return false;
        afterLock();
        return true;
    }

  private:
    friend class ConditionVariable;

    std::mutex native_;
};

/// Holds a mutex for a scope. May be unlocked and locked again in between.
class KELP_THREAD_SAFETY(scoped_lockable) MutexLock {
  public:
    explicit MutexLock(Mutex& mutex) KELP_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    /// Takes over a mutex that the caller has locked with try_lock().
    MutexLock(Mutex& mutex, std::adopt_lock_t) KELP_REQUIRES(mutex) : mutex_(mutex) {}
    ~MutexLock() KELP_RELEASE() {
        if (isHeld_)
            mutex_.unlock();
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    void lock() KELP_ACQUIRE() {
        mutex_.lock();
        isHeld_ = true;
    }
    void unlock() KELP_RELEASE() {
        isHeld_ = false;
        mutex_.unlock();
    }

  private:
    Mutex& mutex_;
    bool isHeld_ = true;
};

/// Releases, for a scope, a mutex that the caller holds. Locks it again at the end of the scope,
/// also when an exception is thrown.
class KELP_THREAD_SAFETY(scoped_lockable) MutexUnlock {
  public:
    explicit MutexUnlock(Mutex& mutex) KELP_RELEASE(mutex) : mutex_(mutex) { mutex_.unlock(); }
    /// Locks the mutex again. For clang's analysis it releases this object, not the mutex.
    ~MutexUnlock() KELP_RELEASE() { mutex_.lock(); }
    MutexUnlock(const MutexUnlock&) = delete;
    MutexUnlock& operator=(const MutexUnlock&) = delete;

  private:
    Mutex& mutex_;
};

/// Lets threads wait until data that a Mutex guards changes. The caller of a wait holds the mutex.
/// The wait releases it, and locks it again before it returns. A wait may end without a
/// notification, so call it in a loop that checks the condition.
class ConditionVariable {
  public:
    using Status = std::cv_status;

    void notify_one() noexcept { native_.notify_one(); }
    void notify_all() noexcept { native_.notify_all(); }

    void wait(Mutex& mutex) KELP_REQUIRES(mutex) {
        Held held(mutex.native_);
        native_.wait(held.lock);
    }
    template <class Clock, class Duration>
    Status wait_until(Mutex& mutex, std::chrono::time_point<Clock, Duration> time)
        KELP_REQUIRES(mutex) {
        Held held(mutex.native_);
        return native_.wait_until(held.lock, time);
    }
    template <class Rep, class Period>
    Status wait_for(Mutex& mutex, std::chrono::duration<Rep, Period> limit) KELP_REQUIRES(mutex) {
        return wait_until(mutex, std::chrono::steady_clock::now() + limit);
    }

  private:
    /// The lock object that the native wait needs. Its destruction leaves the mutex locked.
    struct Held {
        explicit Held(std::mutex& mutex) : lock(mutex, std::adopt_lock) {}
        ~Held() { lock.release(); }
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;
        std::unique_lock<std::mutex> lock;
    };

    std::condition_variable native_;
};

}  // namespace kelp::util
