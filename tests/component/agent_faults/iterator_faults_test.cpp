// An iterator does not stay in the list if a lock fails or its session ends while it is opened.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "component/agent_iterators/iterator_fixture.h"
#include "faults.h"

namespace kelp::test {
namespace {

constexpr unsigned long kLockFailed = 0x411800BE;

class IteratorFaults : public IteratorFixture {
  protected:
    /// Open an iterator while the nth lock fails.
    void openWithFailingLock(int nth, const char* traced) {
        const TraceCapture trace;
        const auto iterator = made();
        {
            const FailingWriteLock fault(nth);
            CORBA::Object_var reference = CORBA::Object::_duplicate(session_.in());
            EXPECT_EQ(open(iterator, reference), kLockFailed);
            EXPECT_TRUE(CORBA::is_nil(reference.in())) << "of an iterator that is not open";
            EXPECT_TRUE(fault.hasHappened());
        }
        EXPECT_TRUE(trace.contains(traced));
        EXPECT_TRUE(waitUntil([&] { return iterator->_refcount_value() == 1; }))
            << "it is inactive";
        EXPECT_EQ(count(), 0u);
        EXPECT_EQ(open(iterator), 0ul) << "its place is free again";
    }
};

/// An iterator being opened that waits between its activation and its entry in the list.
class PausedOpening {
  public:
    explicit PausedOpening(std::function<unsigned long()> open)
        : thread_([this, open = std::move(open)] {
              const PausedWriteLock pause(2, gate_);
              code_ = open();
          }) {}
    ~PausedOpening() {
        if (thread_.joinable())
            finish();
    }
    bool isReached() { return gate_.isReached(); }
    /// Finish the opening and return its error code.
    unsigned long finish() {
        gate_.open();
        thread_.join();
        return code_;
    }

  private:
    Latch gate_;
    unsigned long code_ = 0;
    std::thread thread_;
};

class IteratorPlaces : public IteratorFixture {
  protected:
    std::unique_ptr<PausedOpening> pausedOpening(
        const NS_KELPCORBA::ServantRef<TestIterator>& iterator, CORBA::Object_var& reference) {
        auto opening = std::make_unique<PausedOpening>(
            [&iterator, &reference] { return open(iterator, reference); });
        EXPECT_TRUE(opening->isReached());
        return opening;
    }
    /// An ending of an iterator before it is listed leaves nothing behind.
    template <class Ending>
    void endsBeforeListing(Ending ending) {
        const auto iterator = made();
        CORBA::Object_var reference;
        const auto opening = pausedOpening(iterator, reference);
        ending(iterator.get());
        EXPECT_TRUE(waitUntil([&] { return iterator->_refcount_value() == 2; }))
            << "the POA has let it go";
        EXPECT_EQ(opening->finish(), kNotActivated);
        EXPECT_TRUE(CORBA::is_nil(reference.in()));
        EXPECT_EQ(count(), 0u);
        EXPECT_EQ(iterator->_refcount_value(), 1u);
    }
};

TEST_F(IteratorFaults, OfTheFirstLockAreReported) {
    openWithFailingLock(1, "[SessionMgr::add_iterator] Acquire lock failed!");
}

TEST_F(IteratorFaults, OfTheSecondLockLeaveTheIteratorInactive) {
    openWithFailingLock(2, "[SessionMgr::add_iterator] S3 Acquire lock failed!");
}

TEST_F(IteratorFaults, OfTheLockAtTheEndOfAnIteratorAreReported) {
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

TEST_F(IteratorPlaces, OfASessionThatEndsBetweenActivationAndListingAreFreeAgain) {
    endsBeforeListing([this](TestIterator*) { session_->endSession(); });
}

TEST_F(IteratorPlaces, OfAnIteratorDeactivatedBeforeItIsListedAreFreeAgain) {
    endsBeforeListing([this](TestIterator* iterator) { deactivate(iterator); });
    agent_.configure(AgentOptions().withIteratorLimits(10, 1));
    EXPECT_EQ(openOne(), 0ul);
}

TEST_F(IteratorPlaces, CountTowardsTheHardLimitBeforeTheIteratorIsListed) {
    agent_.configure(AgentOptions().withIteratorLimits(10, 1));
    const auto iterator = made();
    CORBA::Object_var reference;
    const auto opening = pausedOpening(iterator, reference);
    EXPECT_EQ(openOne(), kTooManyIterators);
    EXPECT_EQ(opening->finish(), 0ul);
    EXPECT_FALSE(CORBA::is_nil(reference.in()));
    EXPECT_EQ(count(), 1u);
}

TEST_F(IteratorPlaces, CountTowardsTheSoftLimitBeforeThereIsOneToClose) {
    agent_.configure(AgentOptions().withIteratorLimits(1, 100));
    constexpr std::size_t kTogether = 4;
    std::vector<NS_KELPCORBA::ServantRef<TestIterator>> iterators;
    std::vector<CORBA::Object_var> references(kTogether);
    std::vector<std::unique_ptr<PausedOpening>> openings;
    for (std::size_t i = 0; i < kTogether; ++i)
        iterators.push_back(made());
    for (std::size_t i = 0; i < kTogether; ++i)
        openings.push_back(pausedOpening(iterators[i], references[i]));
    for (const auto& opening : openings) {
        EXPECT_EQ(opening->finish(), 0ul);
        EXPECT_LE(count(), 2u);
    }
    EXPECT_EQ(count(), 2u);
    EXPECT_TRUE(waitUntil([&] { return iterators[1]->_refcount_value() == 1; }))
        << "the oldest are closed";
    EXPECT_EQ(iterators[0]->_refcount_value(), 1u);
    EXPECT_EQ(openOne(), 0ul);
    EXPECT_EQ(count(), 2u);
}

}  // namespace
}  // namespace kelp::test
