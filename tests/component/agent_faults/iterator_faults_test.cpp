// An iterator during whose opening a lock fails or its session ends is not left in the list.

#include <gtest/gtest.h>

#include <thread>

#include "component/agent_iterators/iterator_fixture.h"
#include "faults.h"

namespace kelp::test {
namespace {

constexpr unsigned long kLockFailed = 0x411800BE;

class IteratorFaults : public IteratorFixture {};
class IteratorPlaces : public IteratorFixture {};

TEST_F(IteratorFaults, OfTheFirstLockAreTold) {
    const TraceCapture trace;
    const auto iterator = made();
    {
        const FailingWriteLock fault(1);
        EXPECT_EQ(open(iterator), kLockFailed);
        EXPECT_TRUE(fault.hasHappened());
    }
    EXPECT_TRUE(trace.contains("[SessionMgr::add_iterator] Acquire lock failed!"));
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(iterator->_refcount_value(), 1u);
    EXPECT_EQ(open(iterator), 0ul);
}

TEST_F(IteratorFaults, OfTheSecondLockLeaveTheIteratorInactive) {
    const TraceCapture trace;
    const auto iterator = made();
    {
        const FailingWriteLock fault(2);
        EXPECT_EQ(open(iterator), kLockFailed);
        EXPECT_TRUE(fault.hasHappened());
    }
    EXPECT_TRUE(trace.contains("[SessionMgr::add_iterator] S3 Acquire lock failed!"));
    EXPECT_TRUE(waitUntil([&] { return iterator->_refcount_value() == 1; }));
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(open(iterator), 0ul) << "its place is free again";
}

TEST_F(IteratorFaults, OfTheLockWhenAnIteratorGoesAreTold) {
    const auto iterator = made();
    ASSERT_EQ(open(iterator), 0ul);
    {
        const FailingWriteLock fault(1);
        EXPECT_EQ(agent_.sessions().remove_iterator(iterator.get()), -1);
    }
    EXPECT_EQ(count(), 1u);
    EXPECT_EQ(agent_.sessions().remove_iterator(iterator.get()), 0);
    EXPECT_EQ(count(), 0u);
}

TEST_F(IteratorFaults, OfASessionThatEndsBetweenActivationAndListingLeaveNothingCounted) {
    Gate gate;
    const auto iterator = made();
    unsigned long code = 0;
    std::thread opening([&] {
        const PausedWriteLock pause(2, gate);
        code = open(iterator);
    });
    ASSERT_TRUE(gate.isReached());
    session_->endSession();
    ASSERT_TRUE(waitUntil([&] { return iterator->_refcount_value() == 2; })) << "the POA has let it go";
    gate.open();
    opening.join();
    EXPECT_EQ(code, kNotActivated);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(iterator->_refcount_value(), 1u);
}

TEST_F(IteratorPlaces, CountTowardsTheHardLimitBeforeTheIteratorIsListed) {
    agent_.configure(AgentOptions().withIteratorLimits(10, 1));
    Gate gate;
    const auto iterator = made();
    std::thread opening([&] {
        const PausedWriteLock pause(2, gate);
        EXPECT_EQ(open(iterator), 0ul);
    });
    ASSERT_TRUE(gate.isReached());
    EXPECT_EQ(openOne(), kTooManyIterators);
    gate.open();
    opening.join();
    EXPECT_EQ(count(), 1u);
}

}  // namespace
}  // namespace kelp::test
