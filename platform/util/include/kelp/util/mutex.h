#pragma once

#include <kelp/util/export.h>
#include <kelp/util/lock_rank.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

// Clang checks these with -Wthread-safety; other compilers do not know them.
#if defined(__clang__)
#define KELP_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define KELP_THREAD_SAFETY(attribute)
#endif

/// The member may be used only while the mutex is held.
#define KELP_GUARDED_BY(mutex) KELP_THREAD_SAFETY(guarded_by(mutex))
/// What the member points to may be used only while the mutex is held.
#define KELP_PT_GUARDED_BY(mutex) KELP_THREAD_SAFETY(pt_guarded_by(mutex))
/// The caller holds the mutex, before and after the call.
#define KELP_REQUIRES(...) KELP_THREAD_SAFETY(requires_capability(__VA_ARGS__))
/// The caller does not hold the mutex.
#define KELP_EXCLUDES(...) KELP_THREAD_SAFETY(locks_excluded(__VA_ARGS__))
/// The function locks the mutex and returns with it held.
#define KELP_ACQUIRE(...) KELP_THREAD_SAFETY(acquire_capability(__VA_ARGS__))
/// The function unlocks the mutex.
#define KELP_RELEASE(...) KELP_THREAD_SAFETY(release_capability(__VA_ARGS__))
/// The function locks the mutex if it returns its first argument.
#define KELP_TRY_ACQUIRE(...) KELP_THREAD_SAFETY(try_acquire_capability(__VA_ARGS__))
/// The function returns a reference to the mutex.
#define KELP_RETURNS_MUTEX(mutex) KELP_THREAD_SAFETY(lock_returned(mutex))
/// The function is not checked; a comment says why it is right.
#define KELP_NOT_CHECKED KELP_THREAD_SAFETY(no_thread_safety_analysis)

namespace kelp::util {

/// A mutual-exclusion lock that clang's thread-safety analysis knows. It has a rank, and a thread
/// may lock it only while every mutex it already holds has a lower rank. Debug builds check that
/// and abort with the names of both. Not recursive.
class KELP_THREAD_SAFETY(capability("mutex")) Mutex {
  public:
    /// `name` is for messages and must live as long as the mutex: a string literal.
    constexpr Mutex(LockRank rank, const char* name) : rank_(rank), name_(name) {}
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() KELP_ACQUIRE() {
        beforeLock();
        native_.lock();
        afterLock();
    }
    void unlock() KELP_RELEASE() {
        beforeUnlock();
        native_.unlock();
    }
    bool try_lock() KELP_TRY_ACQUIRE(true) {
        if (!native_.try_lock())
            return false;
        afterLock();
        return true;
    }

    LockRank rank() const { return rank_; }
    const char* name() const { return name_; }

  private:
    friend class ConditionVariable;

#ifdef NDEBUG
    void beforeLock() const {}
    void afterLock() const {}
    void beforeUnlock() const {}
#else
    void beforeLock() const {
        checkLockOrder(*this);
    }
    void afterLock() const {
        rememberLocked(*this);
    }
    void beforeUnlock() const {
        forgetLocked(*this);
    }
#endif

    std::mutex native_;
    const LockRank rank_;
    const char* const name_;
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
