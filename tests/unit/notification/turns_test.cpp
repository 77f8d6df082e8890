// Turns at a pool's threads are given by owner, so that one owner's many consumers do not delay the
// single consumer of another.

#include "delivery/turns.h"

#include <gtest/gtest.h>

#include <vector>

#include "quiet_subscription.h"

namespace kelp::notification {
namespace {

using namespace std::chrono_literals;
using test::QuietSubscription;

class NoScheduler final : public Subscription::Scheduler {
  public:
    void ready(std::shared_ptr<Subscription>) override {}
    void later(std::shared_ptr<Subscription>, Subscription::Clock::time_point, bool) override {}
    void sooner(const Subscription&, Subscription::Clock::time_point) override {}
};

class TurnsTest : public testing::Test {
  protected:
    using Consumer = std::shared_ptr<Subscription>;

    Consumer consumer() {
        return std::make_shared<QuietSubscription>(scheduler_, DeliverySettings(), 10);
    }
    /// Add `count` consumers of this owner, due at once.
    void addMany(const std::string& owner, int count) {
        for (int i = 0; i < count; ++i)
            turns_.add(owner, consumer());
    }
    /// Take the next consumer and end its turn at once.
    Consumer served(Turns::Time now) {
        const Turns::Waiting taken = turns_.take(now);
        if (taken.subscription)
            turns_.ended(*taken.owner);
        return taken.subscription;
    }
    /// Return how many threads get a consumer to serve when none of them ends its turn.
    std::size_t takenAtOnce() {
        while (true) {
            const Turns::Waiting taken = turns_.take(start_);
            if (!taken.subscription)
                return held_.size();
            held_.push_back(taken);
        }
    }

    NoScheduler scheduler_;
    Turns turns_{8};
    std::vector<Turns::Waiting> held_;
    const Turns::Time start_{1h};
};

TEST_F(TurnsTest, AnOwnerWithOneWaitsForOneTurnOfAnOwnerWithMany) {
    addMany("many", 100);
    EXPECT_NE(served(start_ + 1s), nullptr);
    const Consumer one = consumer();
    turns_.add("one", start_ + 1s, one);
    EXPECT_EQ(served(start_ + 1s), one);
}

TEST_F(TurnsTest, AnOwnerThatJustHadItsTurnIsLast) {
    const Consumer first = consumer();
    const Consumer second = consumer();
    turns_.add("a", start_, first);
    turns_.add("b", start_ + 1s, second);
    EXPECT_EQ(served(start_ + 2s), first);
    // the first one hangs again and again, and is due before the second
    turns_.add("a", start_, first);
    EXPECT_EQ(served(start_ + 2s), second);
    EXPECT_EQ(served(start_ + 2s), first);
}

TEST_F(TurnsTest, ConsumersOfOneOwnerGoByTheirTimes) {
    const Consumer late = consumer();
    const Consumer early = consumer();
    turns_.add("a", start_ + 2s, late);
    turns_.add("a", start_ + 1s, early);
    EXPECT_EQ(served(start_ + 3s), early);
    EXPECT_EQ(served(start_ + 3s), late);
}

TEST_F(TurnsTest, NobodyIsTakenBeforeTheirTime) {
    EXPECT_TRUE(turns_.empty());
    EXPECT_EQ(served(start_), nullptr);
    turns_.add("a", start_ + 2s, consumer());
    turns_.add("b", start_ + 1s, consumer());
    EXPECT_EQ(served(start_), nullptr);
    EXPECT_EQ(turns_.nextTime(), start_ + 1s);
    EXPECT_FALSE(turns_.empty());
}

TEST_F(TurnsTest, ThoseThatNeedNotWaitAreTakenAtOnce) {
    const Consumer first = consumer();
    const Consumer second = consumer();
    turns_.add("a", start_ + 1s, first);
    turns_.add("a", start_ + 1s, second);
    EXPECT_TRUE(turns_.hasten(*second, start_ + 1s));
    EXPECT_EQ(served(start_), second);
    EXPECT_FALSE(turns_.hasten(*second, start_ + 1s));
    EXPECT_EQ(served(start_), nullptr);
    EXPECT_EQ(served(start_ + 1s), first);
}

TEST_F(TurnsTest, OneOwnerLeavesHalfOfTheThreads) {
    addMany("a", 100);
    EXPECT_EQ(takenAtOnce(), 4u);
}

TEST_F(TurnsTest, ManyOwnersLeaveAThreadForAnother) {
    for (const char* const owner : {"a", "b", "c"})
        addMany(owner, 100);
    EXPECT_LT(takenAtOnce(), 8u);
    const Consumer another = consumer();
    EXPECT_TRUE(turns_.add("d", another));
    EXPECT_EQ(turns_.take(start_).subscription, another);
}

TEST_F(TurnsTest, AnOwnerMayUseAThreadAgainThatItHasReleased) {
    addMany("a", 100);
    takenAtOnce();
    EXPECT_FALSE(turns_.add("a", consumer()));
    EXPECT_FALSE(turns_.mayHaveThread(*held_.front().owner));
    turns_.ended(*held_.front().owner);
    EXPECT_TRUE(turns_.mayHaveThread(*held_.front().owner));
    EXPECT_NE(turns_.take(start_).subscription, nullptr);
}

TEST_F(TurnsTest, ConsumersWithoutAnOwnerMayHaveAllThreads) {
    addMany("", 100);
    EXPECT_EQ(takenAtOnce(), 8u);
}

TEST_F(TurnsTest, OwnersComeAndGo) {
    for (int i = 0; i < 20000; ++i) {
        const Consumer its = consumer();
        turns_.add(std::to_string(i), its);
        ASSERT_EQ(served(start_), its);
    }
    // the turn of "19999" is still remembered, the one of "0" is forgotten
    const Consumer last = consumer();
    const Consumer first = consumer();
    turns_.add("19999", last);
    turns_.add("0", first);
    EXPECT_EQ(served(start_), first);
    EXPECT_EQ(served(start_), last);
}

TEST_F(TurnsTest, AreAllHandedOverAtTheEnd) {
    addMany("a", 3);
    turns_.add("a", start_, consumer());
    turns_.add("b", start_ + 1h, consumer());
    const Turns::Waiting served = turns_.take(start_);
    EXPECT_EQ(turns_.takeAll().size(), 4u);
    EXPECT_TRUE(turns_.empty());
    turns_.ended(*served.owner);
    EXPECT_EQ(turns_.take(start_ + 2h).subscription, nullptr);
}

// One turn takes as long as thousands of turns of others.
TEST_F(TurnsTest, AnOwnerIsStillKnownWhenItsLongTurnEnds) {
    turns_.add("patient", consumer());
    const Turns::Waiting held = turns_.take(start_);
    for (int i = 0; i < 8190; ++i) {
        turns_.add("other", consumer());
        ASSERT_NE(served(start_), nullptr);
    }
    turns_.add("other", consumer());
    turns_.ended(*held.owner);
    const Turns::Waiting next = turns_.take(start_);
    EXPECT_NE(next.subscription, nullptr);
    EXPECT_FALSE(turns_.mayHaveThread(*held.owner)) << "nothing of it waits";
}

}  // namespace
}  // namespace kelp::notification
