// The limit of open iterators of one session. It keeps a session from using up the iterators of
// all.

#include <algorithm>
#include <thread>
#include <vector>

#include "iterator_fixture.h"

namespace kelp::test {
namespace {

using NS_KELPCORBA::ServantRef;

template <int Soft, int Hard, int PerSession>
class IteratorQuota : public IteratorFixture {
  protected:
    IteratorQuota()
        : IteratorFixture(
              AgentOptions().withIteratorLimits(Soft, Hard).withIteratorsPerSession(PerSession)) {
        otherSession_ = agent_.logIn(agent_.nms(2));
        const PortableServer::POA_var top = agent_.listed(agent_.nms(2))->source()->get_POA();
        ofOther_ = top->find_POA("iterator", false);
    }
    ServantRef<TestIterator> madeForOther() {
        return ServantRef<TestIterator>::take(new TestIterator(ofOther_.in(), alive_));
    }
    /// Open an iterator. Return a reference to it that is called over a connection.
    common::Common_I_var opened(const ServantRef<TestIterator>& iterator) {
        CORBA::Object_var reference;
        EXPECT_EQ(open(iterator, reference), 0ul);
        return agent_.overTheWire<common::Common_I>(reference.in());
    }

  private:
    emsSession::EmsSession_I_var otherSession_;
    PortableServer::POA_var ofOther_;
};

using IteratorQuotaOfThree = IteratorQuota<100, 200, 3>;

TEST_F(IteratorQuotaOfThree, FourthIteratorOfASessionClosesOnlyItsOwnFirst) {
    const common::Common_I_var others = opened(madeForOther());
    std::vector<common::Common_I_var> own;
    for (int i = 0; i < 3; ++i)
        own.push_back(opened(made()));
    EXPECT_EQ(count(), 4u);
    own.push_back(opened(made()));
    EXPECT_EQ(count(), 4u);
    EXPECT_FALSE(answers(own[0].in()));
    for (int i = 1; i < 4; ++i)
        EXPECT_TRUE(answers(own[static_cast<std::size_t>(i)].in())) << i;
    EXPECT_TRUE(answers(others.in())) << "it is the oldest of all";
}

TEST_F(IteratorQuotaOfThree, DestroyedIteratorMakesRoom) {
    const ServantRef<TestIterator> first = made();
    const common::Common_I_var firstRemote = opened(first);
    const common::Common_I_var second = opened(made());
    const common::Common_I_var third = opened(made());
    deactivate(first.get());
    RunningAgent::sessions().remove_iterator(first.get());
    const common::Common_I_var fourth = opened(made());
    EXPECT_EQ(count(), 3u);
    EXPECT_TRUE(answers(second.in()));
    EXPECT_TRUE(answers(third.in()));
    EXPECT_TRUE(answers(fourth.in()));
}

TEST_F(IteratorQuotaOfThree, HoldsForIteratorsOpenedConcurrently) {
    constexpr int kThreads = 8, kEach = 30;
    const common::Common_I_var others = opened(madeForOther());
    std::atomic<int> running{kThreads};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < kEach; ++i)
                EXPECT_EQ(openOne(), 0ul);
            --running;
        });
    std::size_t most = 0;
    while (running > 0)
        most = std::max(most, count());
    for (std::thread& each : threads)
        each.join();
    EXPECT_LE(most, 4u);
    EXPECT_GE(count(), 2u);
    EXPECT_TRUE(answers(others.in()));
    EXPECT_TRUE(waitUntil([&] { return alive_ == static_cast<int>(count()); })) << alive_;
}

using IteratorQuotaBelowSoftLimit = IteratorQuota<4, 100, 3>;

TEST_F(IteratorQuotaBelowSoftLimit, KeepsASessionFromPushingOthersOut) {
    const common::Common_I_var others = opened(madeForOther());
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(openOne(), 0ul);
    EXPECT_EQ(count(), 4u);
    EXPECT_TRUE(answers(others.in()));
}

using IteratorQuotaAboveSoftLimit = IteratorQuota<2, 100, 50>;

TEST_F(IteratorQuotaAboveSoftLimit, LeavesTheCommonLimitsAsTheyAre) {
    const common::Common_I_var others = opened(madeForOther());
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(openOne(), 0ul);
    EXPECT_TRUE(answers(others.in()));
    EXPECT_EQ(openOne(), 0ul);
    EXPECT_FALSE(answers(others.in()));
    EXPECT_EQ(count(), 3u);
}

using IteratorQuotaOfOneAtHardLimit = IteratorQuota<100, 2, 1>;

TEST_F(IteratorQuotaOfOneAtHardLimit, SessionAtItsOwnLimitIsNotRefusedByTheHardLimit) {
    const common::Common_I_var others = opened(madeForOther());
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(openOne(), 0ul);
    EXPECT_EQ(count(), 2u);
    EXPECT_TRUE(answers(others.in()));
}

}  // namespace
}  // namespace kelp::test
