#include <gtest/gtest.h>
#include <kelp/util/mutex.h>

#include <future>
#include <thread>

#include "support/lock_order.h"

namespace kelp::util {
namespace {

using namespace std::chrono_literals;
using test::expectWrongOrder;

/// A number that several threads change.
class Counter {
  public:
    void add() KELP_EXCLUDES(mutex_) {
        const MutexLock lock(mutex_);
        ++count_;
        changed_.notify_all();
    }
    void waitFor(int count) KELP_EXCLUDES(mutex_) {
        const MutexLock lock(mutex_);
        while (count_ < count)
            changed_.wait(mutex_);
    }
    bool waitFor(int count, std::chrono::milliseconds limit) KELP_EXCLUDES(mutex_) {
        const auto end = std::chrono::steady_clock::now() + limit;
        const MutexLock lock(mutex_);
        while (count_ < count) {
            if (changed_.wait_until(mutex_, end) == ConditionVariable::Status::timeout)
                return false;
        }
        return true;
    }

  private:
    Mutex mutex_{LockRank::Leaf, "Counter::mutex_"};
    ConditionVariable changed_;
    int count_ KELP_GUARDED_BY(mutex_) = 0;
};

bool isFree(Mutex& mutex) {
    return std::async(std::launch::async,
                      [&mutex] {
                          if (!mutex.try_lock())
                              return false;
                          mutex.unlock();
                          return true;
                      })
        .get();
}

TEST(Mutex, IsHeldUntilItsLockEnds) {
    Mutex mutex(LockRank::Leaf, "mutex");
    {
        const MutexLock lock(mutex);
        EXPECT_FALSE(isFree(mutex));
    }
    EXPECT_TRUE(isFree(mutex));
}

TEST(Mutex, IsReleasedByALockThatTookItOver) {
    Mutex mutex(LockRank::Leaf, "mutex");
    {
        if (!mutex.try_lock())
            FAIL() << "the mutex is not free";
        const MutexLock lock(mutex, std::adopt_lock);
        EXPECT_FALSE(isFree(mutex));
    }
    EXPECT_TRUE(isFree(mutex));
}

TEST(Mutex, CanBeReleasedInBetween) {
    Mutex mutex(LockRank::Leaf, "mutex");
    MutexLock lock(mutex);
    lock.unlock();
    EXPECT_TRUE(isFree(mutex));
    lock.lock();
    EXPECT_FALSE(isFree(mutex));
    {
        const MutexUnlock released(mutex);
        EXPECT_TRUE(isFree(mutex));
    }
    EXPECT_FALSE(isFree(mutex));
}

TEST(Mutex, StaysFreeWhenItsLockWasReleased) {
    Mutex mutex(LockRank::Leaf, "mutex");
    {
        MutexLock lock(mutex);
        lock.unlock();
    }
    EXPECT_TRUE(isFree(mutex));
}

TEST(ConditionVariable, WakesAWaitingThread) {
    Counter counter;
    std::thread adder([&counter] {
        for (int i = 0; i < 1000; ++i)
            counter.add();
    });
    counter.waitFor(1000);
    adder.join();
}

TEST(ConditionVariable, StopsWaitingAtItsTime) {
    Counter counter;
    EXPECT_FALSE(counter.waitFor(1, 10ms));
    counter.add();
    EXPECT_TRUE(counter.waitFor(1, 0ms));
}

#ifndef NDEBUG

Mutex outer(LockRank::Outermost, "Outer::mutex_");
Mutex leaf(LockRank::Leaf, "Leaf::mutex_");
Mutex otherMutex(LockRank::Leaf, "Other::mutex_");
Mutex trace(LockRank::Trace, "Trace::mutex_");

TEST(LockRank, AllowsTheDocumentedOrder) {
    const MutexLock first(outer);
    const MutexLock second(leaf);
    const MutexLock third(trace);
}

TEST(LockRank, AllowsOneAfterAnother) {
    { const MutexLock first(leaf); }
    const MutexLock second(otherMutex);
}

TEST(LockRank, AllowsUnlockingInAnyOrder) {
    outer.lock();
    leaf.lock();
    outer.unlock();
    leaf.unlock();
    const MutexLock again(outer);
}

TEST(LockRank, AllowsToTryALockInTheWrongOrder) {
    const MutexLock first(leaf);
    if (!outer.try_lock())
        FAIL() << "the mutex is not free";
    const MutexLock second(outer, std::adopt_lock);
    const MutexLock third(trace);
}

TEST(LockRank, ForgetsALockThatWasTriedInVain) {
    std::promise<void> held;
    std::promise<void> tried;
    std::thread holder([&] {
        const MutexLock lock(leaf);
        held.set_value();
        tried.get_future().wait();
    });
    held.get_future().wait();
    const bool isLocked = leaf.try_lock();
    tried.set_value();
    holder.join();
    ASSERT_FALSE(isLocked);
    const MutexLock lower(outer);
}

TEST(LockRankDeathTest, CountsALockThatWasTriedAsHeld) {
    EXPECT_DEATH(
        {
            if (leaf.try_lock()) {
                const MutexLock first(leaf, std::adopt_lock);
                const MutexLock second(outer);
            }
        },
        "lock order violated: locking Outer::mutex_ while Leaf::mutex_ is held");
}

TEST(LockRankDeathTest, AbortsWithBothNamesInTheWrongOrder) {
    expectWrongOrder<MutexLock, MutexLock>(leaf, outer);
}

TEST(LockRankDeathTest, AbortsWhenTwoOfOneRankAreHeld) {
    expectWrongOrder<MutexLock, MutexLock>(leaf, otherMutex);
}

TEST(LockRankDeathTest, AbortsWhenOneMutexIsLockedTwice) {
    EXPECT_DEATH(
        {
            const MutexLock first(leaf);
            checkLockOrder(leaf);
        },
        "lock order violated: locking Leaf::mutex_ while Leaf::mutex_ is held");
}

/// Not checked by clang: it is wrong on purpose.
void unlockWhatIsNotHeld() KELP_NOT_CHECKED {
    leaf.unlock();
}

TEST(LockRankDeathTest, AbortsWhenAMutexIsUnlockedThatIsNotHeld) {
    EXPECT_DEATH(unlockWhatIsNotHeld(), "unlocking Leaf::mutex_");
}

#endif

}  // namespace
}  // namespace kelp::util
