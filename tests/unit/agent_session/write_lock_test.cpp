#include "util/write_lock.h"

#include <gtest/gtest.h>
#include <kelp/util/mutex.h>

#include <chrono>
#include <future>
#include <optional>

#include "support/lock_order.h"

namespace {

using namespace NS_KELPCORBA;
using namespace std::chrono_literals;
using kelp::test::expectWrongOrder;
using kelp::util::LockRank;
using kelp::util::Mutex;
using kelp::util::MutexLock;

TEST(WriteLock, IsHeldByOneThreadAtATime) {
    WriteMutex mutex(LockRank::Leaf, "mutex");
    std::optional<WriteLock> lock(std::in_place, mutex);
    EXPECT_TRUE(lock->locked());
    std::future<bool> other = std::async(std::launch::async, [&mutex] {
        const WriteLock second(mutex);
        return second.locked();
    });
    EXPECT_EQ(other.wait_for(20ms), std::future_status::timeout);
    lock.reset();
    EXPECT_TRUE(other.get());
}

#ifndef NDEBUG

WriteMutex listMutex(LockRank::SessionList, "List::lock_");
WriteMutex sourceMutex(LockRank::SessionSource, "Source::lock_");
Mutex leafMutex(LockRank::Leaf, "Leaf::mutex_");

TEST(WriteLock, AllowsTheOrderOfTheSessionsLocks) {
    const WriteLock first(listMutex);
    const WriteLock second(sourceMutex);
    const MutexLock third(leafMutex);
}

TEST(WriteLockDeathTest, AbortsInTheWrongOrder) {
    expectWrongOrder<WriteLock, WriteLock>(sourceMutex, listMutex);
}

TEST(WriteLockDeathTest, AbortsUnderALockOfAnotherTypeWithAHigherRank) {
    expectWrongOrder<MutexLock, WriteLock>(leafMutex, sourceMutex);
}

TEST(WriteLockDeathTest, CountsAsHeldForLocksOfOtherTypes) {
    Mutex outer(LockRank::Outermost, "Outer::mutex_");
    expectWrongOrder<WriteLock, MutexLock>(sourceMutex, outer);
}

#endif

}  // namespace
