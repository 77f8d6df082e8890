// The limits of open iterators. Above the soft limit the oldest one is closed. At the hard limit no
// more are opened.

#include <gmock/gmock.h>

#include <future>
#include <thread>

#include "iterator_fixture.h"
#include "support/latch.h"

namespace kelp::test {
namespace {

template <int Soft, int Hard>
class IteratorsLimited : public IteratorFixture {
  protected:
    IteratorsLimited() : IteratorFixture(AgentOptions().withIteratorLimits(Soft, Hard)) {}

    struct Openings {
        int opened = 0;
        int refused = 0;  ///< with EXCPT_TOO_MANY_OPEN_ITERATORS
        int failed = 0;   ///< in any other way
        std::size_t mostAtOnce = 0;
    };
    /// Open iterators from many threads at once.
    Openings openFromManyThreads() {
        constexpr int kThreads = 8, kEach = 40;
        std::atomic<int> running{kThreads}, opened{0}, refused{0};
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t)
            threads.emplace_back([&] {
                for (int i = 0; i < kEach; ++i) {
                    const unsigned long code = openOne();
                    opened += code == 0 ? 1 : 0;
                    refused += code == kTooManyIterators ? 1 : 0;
                }
                --running;
            });
        Openings result;
        while (running > 0)
            result.mostAtOnce = std::max(result.mostAtOnce, count());
        for (std::thread& each : threads)
            each.join();
        result.opened = opened;
        result.refused = refused;
        result.failed = kThreads * kEach - opened - refused;
        return result;
    }
};

using IteratorsSoftBelowHard = IteratorsLimited<2, 10>;

TEST_F(IteratorsSoftBelowHard, FourthIteratorClosesTheFirst) {
    std::vector<common::Common_I_var> remotes;
    for (int i = 0; i < 4; ++i) {
        const auto iterator = made();
        EXPECT_EQ(open(iterator), 0ul);
        remotes.push_back(remote(iterator.get()));
        EXPECT_TRUE(answers(remotes.back().in()));
    }
    EXPECT_EQ(count(), 3u);
    EXPECT_TRUE(waitUntil([&] { return alive_ == 3; }));
    EXPECT_FALSE(answers(remotes[0].in()));
    for (std::size_t i = 1; i < 4; ++i)
        EXPECT_TRUE(answers(remotes[i].in())) << i;
}

TEST_F(IteratorsSoftBelowHard, NeverExceedTheSoftLimitByMoreThanOne) {
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(openOne(), 0ul);
        EXPECT_LE(count(), 3u);
    }
    EXPECT_EQ(count(), 3u);
    EXPECT_TRUE(waitUntil([&] { return alive_ == 3; }));
}

using IteratorsFarBelowHard = IteratorsLimited<2, 100>;

TEST_F(IteratorsFarBelowHard, NeverExceedTheSoftLimitByMoreThanOneEvenIfManyAreOpenedAtOnce) {
    const Openings openings = openFromManyThreads();
    EXPECT_LE(openings.mostAtOnce, 3u);
    EXPECT_EQ(count(), 3u);
    EXPECT_EQ(openings.refused + openings.failed, 0);
    EXPECT_TRUE(waitUntil([&] { return alive_ == 3; }));
}

TEST_F(IteratorsSoftBelowHard, WithoutAPoaAreRefusedAndStayWithTheCaller) {
    const auto nowhere = NS_KELPCORBA::ServantRef<TestIterator>::take(
        new TestIterator(PortableServer::POA::_nil(), alive_));
    const TraceCapture trace;
    EXPECT_EQ(open(nowhere), kNotActivated);
    EXPECT_TRUE(trace.contains("[SessionMgr::add_iterator] Occurred during activate_object!"));
    EXPECT_EQ(nowhere->_refcount_value(), 1u);
    EXPECT_EQ(count(), 0u);
}

TEST_F(IteratorsSoftBelowHard, IteratorThatCannotBeOpenedFreesItsPlace) {
    agent_.configure(AgentOptions().withIteratorLimits(10, 1));
    const auto nowhere = NS_KELPCORBA::ServantRef<TestIterator>::take(
        new TestIterator(PortableServer::POA::_nil(), alive_));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(open(nowhere), kNotActivated);
    EXPECT_EQ(openOne(), 0ul);
}

/// The oldest of four iterators cannot be closed in the normal way, but it leaves the list all the
/// same.
class IteratorsThatCannotBeClosed : public IteratorsSoftBelowHard {
  protected:
    void expectUnlisted(const std::function<void(TestIterator&)>& spoil, const char* traced) {
        const auto oldest = made();
        ASSERT_EQ(open(oldest), 0ul);
        for (int i = 0; i < 2; ++i)
            ASSERT_EQ(openOne(), 0ul);
        spoil(*oldest);
        const TraceCapture trace;
        EXPECT_EQ(openOne(), 0ul) << "the new one is open in every case";
        EXPECT_EQ(trace.count(traced), 1u);
        EXPECT_EQ(count(), 3u);
        EXPECT_EQ(oldest->_refcount_value(), 2u) << "ours and the POA's";
    }
};

TEST_F(IteratorsThatCannotBeClosed, BecauseTheirPoaIsNilAreTraced) {
    expectUnlisted([](TestIterator& oldest) { oldest.isWithoutPoa = true; },
                   "[SessionMgr::add_iterator] _default_POA returned nil POA object!");
}

TEST_F(IteratorsThatCannotBeClosed, BecauseTheirPoaThrowsAreTraced) {
    expectUnlisted([](TestIterator& oldest) { oldest.onPoa = [] { throw CORBA::NO_RESOURCES(); }; },
                   "[SessionMgr::add_iterator] Occurred during deactivate_object of iterator!");
}

TEST_F(IteratorsSoftBelowHard, OldestIsClosedWithoutWaitingForTheCallOnIt) {
    Latch gate;
    auto oldest = made();
    oldest->onCall = [&] { gate.pass(); };
    ASSERT_EQ(open(oldest), 0ul);
    std::thread calling([this, &oldest] { EXPECT_TRUE(answers(remote(oldest.get()).in())); });
    ASSERT_TRUE(gate.isReached());
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(openOne(), 0ul);
    EXPECT_EQ(count(), 3u);
    gate.open();
    calling.join();
    EXPECT_TRUE(waitUntil([&] { return oldest->_refcount_value() == 1; }))
        << "the call was the last";
}

TEST_F(IteratorsSoftBelowHard, AreCountedByOthersWhileAPoaIsAsked) {
    const auto iterator = made();
    // kept here, because a future that ends in onPoa would wait there for its count
    std::vector<std::future<std::size_t>> countings;
    bool isCounted = true;
    iterator->onPoa = [&] {
        countings.push_back(std::async(std::launch::async, [] { return count(); }));
        isCounted = isCounted &&
                    countings.back().wait_for(std::chrono::seconds(5)) == std::future_status::ready;
    };
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(i == 0 ? open(iterator) : openOne(), 0ul) << "the fourth closes it";
    EXPECT_TRUE(isCounted) << "no lock is held while a POA is called";
}

TEST_F(IteratorsSoftBelowHard, ALowerHardLimitRefusesTheNewOneAndStillClosesTheOldest) {
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(openOne(), 0ul);
    agent_.configure(AgentOptions().withIteratorLimits(2, 2));
    const TraceCapture trace;
    EXPECT_EQ(openOne(), kTooManyIterators);
    EXPECT_EQ(count(), 2u);
    EXPECT_TRUE(waitUntil([&] { return alive_ == 2; }));
    EXPECT_EQ(openOne(), kTooManyIterators);
    EXPECT_EQ(count(), 2u) << "at the soft limit none is closed";
    EXPECT_EQ(
        trace.count(
            "[SessionMgr::add_iterator] Too much iterator, EMS now starting self-protection!"),
        2u);
}

TEST_F(IteratorsSoftBelowHard, AtMostOneIsClosedForANewOneWhenTheLimitsHaveShrunk) {
    agent_.configure(AgentOptions().withIteratorLimits(9, 20));
    for (int i = 0; i < 10; ++i)
        ASSERT_EQ(openOne(), 0ul);
    agent_.configure(AgentOptions().withIteratorLimits(2, 20));
    EXPECT_EQ(openOne(), 0ul);
    EXPECT_EQ(count(), 10u);
}

using IteratorsHardEqualToSoft = IteratorsLimited<3, 3>;

TEST_F(IteratorsHardEqualToSoft, AreRefusedAtTheLimitAndNoneIsClosed) {
    std::vector<common::Common_I_var> remotes;
    for (int i = 0; i < 3; ++i) {
        const auto iterator = made();
        ASSERT_EQ(open(iterator), 0ul);
        remotes.push_back(remote(iterator.get()));
    }
    for (int i = 0; i < 5; ++i) {
        const auto refused = made();
        EXPECT_EQ(open(refused), kTooManyIterators);
        EXPECT_EQ(refused->_refcount_value(), 1u) << "it stays its maker's";
        EXPECT_EQ(count(), 3u);
    }
    for (const common::Common_I_var& each : remotes)
        EXPECT_TRUE(answers(each.in()));
}

TEST_F(IteratorsHardEqualToSoft, AreOpenedAgainAsSoonAsOneIsClosed) {
    const auto first = made();
    ASSERT_EQ(open(first), 0ul);
    ASSERT_EQ(openOne(), 0ul);
    ASSERT_EQ(openOne(), 0ul);
    ASSERT_EQ(openOne(), kTooManyIterators);
    deactivate(first.get());
    EXPECT_TRUE(waitUntil([&] { return count() == 2; }));
    EXPECT_EQ(openOne(), 0ul);
}

using IteratorsHardBelowSoft = IteratorsLimited<10, 2>;

TEST_F(IteratorsHardBelowSoft, AreRefusedAtTheHardLimit) {
    EXPECT_EQ(openOne(), 0ul);
    EXPECT_EQ(openOne(), 0ul);
    EXPECT_EQ(openOne(), kTooManyIterators);
    EXPECT_EQ(count(), 2u);
}

using IteratorsOfManyThreads = IteratorsLimited<100, 10>;

TEST_F(IteratorsOfManyThreads, ReachExactlyTheHardLimit) {
    const Openings openings = openFromManyThreads();
    EXPECT_EQ(openings.opened, 10);
    EXPECT_EQ(openings.failed, 0);
    EXPECT_LE(openings.mostAtOnce, 10u);
    EXPECT_EQ(count(), 10u);
    EXPECT_TRUE(waitUntil([&] { return alive_ == 10; }));
}

}  // namespace
}  // namespace kelp::test
