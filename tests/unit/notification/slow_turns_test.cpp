// Turns of consumers that did not answer: by owner, so that one owner's many do not hold up another's one.

#include "slow_turns.h"

#include <gtest/gtest.h>

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

class SlowTurnsTest : public testing::Test {
  protected:
    using Consumer = std::shared_ptr<Subscription>;

    Consumer consumer() { return std::make_shared<QuietSubscription>(scheduler_, DeliverySettings(), 10); }

    NoScheduler scheduler_;
    SlowTurns turns_;
    const SlowTurns::Time start_{1h};
};

TEST_F(SlowTurnsTest, AnOwnerWithOneWaitsForOneTurnOfAnOwnerWithMany) {
    for (int i = 0; i < 100; ++i)
        turns_.add("many", start_, consumer());
    EXPECT_NE(turns_.takeDue(start_ + 1s), nullptr);
    const Consumer one = consumer();
    turns_.add("one", start_ + 1s, one);
    EXPECT_EQ(turns_.takeDue(start_ + 1s), one);
}

TEST_F(SlowTurnsTest, AnOwnerThatJustHadItsTurnIsLast) {
    const Consumer first = consumer();
    const Consumer second = consumer();
    turns_.add("a", start_, first);
    turns_.add("b", start_ + 1s, second);
    EXPECT_EQ(turns_.takeDue(start_ + 2s), first);
    // it hangs again and again, and is due before the other
    turns_.add("a", start_, first);
    EXPECT_EQ(turns_.takeDue(start_ + 2s), second);
    EXPECT_EQ(turns_.takeDue(start_ + 2s), first);
}

TEST_F(SlowTurnsTest, ConsumersOfOneOwnerGoByTheirTimes) {
    const Consumer late = consumer();
    const Consumer early = consumer();
    turns_.add("a", start_ + 2s, late);
    turns_.add("a", start_ + 1s, early);
    EXPECT_EQ(turns_.takeDue(start_ + 3s), early);
    EXPECT_EQ(turns_.takeDue(start_ + 3s), late);
}

TEST_F(SlowTurnsTest, NobodyIsTakenBeforeTheirTime) {
    EXPECT_TRUE(turns_.empty());
    EXPECT_EQ(turns_.takeDue(start_), nullptr);
    turns_.add("a", start_ + 2s, consumer());
    turns_.add("b", start_ + 1s, consumer());
    EXPECT_EQ(turns_.takeDue(start_), nullptr);
    EXPECT_EQ(turns_.nextTime(), start_ + 1s);
    EXPECT_FALSE(turns_.empty());
}

TEST_F(SlowTurnsTest, AreAllHandedOverAtTheEnd) {
    turns_.add("a", start_, consumer());
    turns_.add("a", start_, consumer());
    turns_.add("b", start_, consumer());
    EXPECT_EQ(turns_.takeAll().size(), 3u);
    EXPECT_TRUE(turns_.empty());
}

}  // namespace
}  // namespace kelp::notification
