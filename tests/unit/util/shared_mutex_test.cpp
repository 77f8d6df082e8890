#include <gtest/gtest.h>
#include <kelp/util/mutex.h>
#include <kelp/util/shared_mutex.h>

#include <chrono>
#include <future>
#include <latch>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "support/lock_order.h"

namespace kelp::util {
namespace {

using namespace std::chrono_literals;
using test::expectWrongOrder;

/// Lock the mutex on another thread in this way. The future is ready once that thread had it.
template <class Lock>
std::future<void> lockedElsewhere(SharedMutex& mutex) {
    return std::async(std::launch::async, [&mutex] { const Lock lock(mutex); });
}

/// Whether another thread is kept from locking the mutex in this way until `held` ends.
template <class Lock, class Held>
bool waitsForTheEndOf(std::optional<Held>& held, SharedMutex& mutex) {
    std::future<void> other = lockedElsewhere<Lock>(mutex);
    const bool waited = other.wait_for(20ms) == std::future_status::timeout;
    held.reset();
    other.get();
    return waited;
}

TEST(SharedMutex, IsReadBySeveralThreadsAtATime) {
    SharedMutex mutex(LockRank::Leaf, "mutex");
    std::latch allRead(4);
    std::vector<std::thread> readers;
    for (int i = 0; i < 4; ++i)
        readers.emplace_back([&] {
            const SharedLock lock(mutex);
            allRead.arrive_and_wait();
        });
    for (std::thread& each : readers)
        each.join();
    EXPECT_TRUE(allRead.try_wait());
}

TEST(SharedMutex, KeepsReadersOutWhileItIsWritten) {
    SharedMutex mutex(LockRank::Leaf, "mutex");
    std::optional<ExclusiveLock> writing(std::in_place, mutex);
    EXPECT_TRUE(waitsForTheEndOf<SharedLock>(writing, mutex));
}

TEST(SharedMutex, KeepsWritersOutWhileItIsWritten) {
    SharedMutex mutex(LockRank::Leaf, "mutex");
    std::optional<ExclusiveLock> writing(std::in_place, mutex);
    EXPECT_TRUE(waitsForTheEndOf<ExclusiveLock>(writing, mutex));
}

TEST(SharedMutex, KeepsWritersOutWhileItIsRead) {
    SharedMutex mutex(LockRank::Leaf, "mutex");
    std::optional<SharedLock> reading(std::in_place, mutex);
    EXPECT_TRUE(waitsForTheEndOf<ExclusiveLock>(reading, mutex));
}

#ifndef NDEBUG

Mutex lowest(LockRank::Outermost, "Lowest::mutex_");
SharedMutex readByMany(LockRank::Leaf, "Shared::mutex_");
Mutex highest(LockRank::Trace, "Highest::mutex_");

TEST(SharedMutex, AllowsTheDocumentedOrderForBothWays) {
    {
        const MutexLock first(lowest);
        const SharedLock second(readByMany);
        const MutexLock third(highest);
    }
    const MutexLock first(lowest);
    const ExclusiveLock second(readByMany);
    const MutexLock third(highest);
}

TEST(SharedMutexDeathTest, AbortsWhenReadUnderAHigherRank) {
    expectWrongOrder<MutexLock, SharedLock>(highest, readByMany);
}

TEST(SharedMutexDeathTest, AbortsWhenWrittenUnderAHigherRank) {
    expectWrongOrder<MutexLock, ExclusiveLock>(highest, readByMany);
}

TEST(SharedMutexDeathTest, CountsAsHeldWhileItIsRead) {
    expectWrongOrder<SharedLock, MutexLock>(readByMany, lowest);
}

TEST(SharedMutexDeathTest, CountsAsHeldWhileItIsWritten) {
    expectWrongOrder<ExclusiveLock, MutexLock>(readByMany, lowest);
}

TEST(SharedMutexDeathTest, AbortsWhenReadTwiceByOneThread) {
    EXPECT_DEATH(
        {
            const SharedLock first(readByMany);
            checkLockOrder(readByMany);
        },
        "lock order violated: locking Shared::mutex_ while Shared::mutex_ is held");
}

#endif

}  // namespace
}  // namespace kelp::util
