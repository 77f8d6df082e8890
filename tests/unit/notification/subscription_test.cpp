#include "delivery/subscription.h"

#include <cos/CosEventComm.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <new>
#include <thread>

#include "numbered_events.h"

namespace kelp::notification {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

/// Serves nothing automatically. The test takes a turn when it wants to.
class HandScheduler final : public Subscription::Scheduler {
  public:
    void ready(std::shared_ptr<Subscription> subscription) override {
        requireMemory();
        fast.push_back(std::move(subscription));
    }
    void later(std::shared_ptr<Subscription> subscription, Subscription::Clock::time_point when,
               bool isSlow) override {
        requireMemory();
        (isSlow ? slow : paced).push_back(std::move(subscription));
        due = when;
    }
    void sooner(const Subscription& subscription, Subscription::Clock::time_point when) override {
        EXPECT_EQ(when, due);
        const auto found = std::find_if(paced.begin(), paced.end(), [&](const auto& each) {
            return each.get() == &subscription;
        });
        if (found == paced.end())
            return;
        fast.push_back(*found);
        paced.erase(found);
    }
    static bool turn(std::deque<std::shared_ptr<Subscription>>& queue) {
        if (queue.empty())
            return false;
        const std::shared_ptr<Subscription> next = queue.front();
        queue.pop_front();
        next->serve();
        return true;
    }
    void run() {
        while (turn(fast)) {
        }
    }

    std::deque<std::shared_ptr<Subscription>> fast;
    std::deque<std::shared_ptr<Subscription>> slow;
    std::deque<std::shared_ptr<Subscription>> paced;
    Subscription::Clock::time_point due;
    bool hasNoMemory = false;

  private:
    void requireMemory() const {
        if (hasNoMemory)
            throw std::bad_alloc();
    }
};

class TestSubscription final : public Subscription {
  public:
    using Subscription::Subscription;
    std::vector<int> lost;
    std::vector<std::string> deaths;
    int deathsWithoutMemory = 0;

  private:
    void eventsLost(const Event& first) override { lost.push_back(test::numberOf(first.view())); }
    void consumerDied(const std::string& why) override {
        if (deathsWithoutMemory-- > 0)
            throw std::bad_alloc();
        deaths.push_back(why);
    }
};

/// A consumer that the test controls.
class TestConsumer final : public ConnectedConsumer {
  public:
    std::size_t batchMax() const override { return batch; }
    void deliver(const std::vector<EventPtr>& events) override {
        if (onDeliver)
            onDeliver();
        for (const EventPtr& each : events)
            got.push_back(test::numberOf(each));
        ++calls;
    }
    void probe() override {
        ++probes;
        if (onProbe)
            onProbe();
    }
    void disconnect() override {}

    std::size_t batch = 1;
    std::function<void()> onDeliver;
    std::function<void()> onProbe;
    std::vector<int> got;
    int calls = 0;
    int probes = 0;
};

void timeOut() {
    throw CORBA::TIMEOUT(0, CORBA::COMPLETED_MAYBE);
}

class SubscriptionTest : public testing::Test {
  protected:
    std::shared_ptr<TestSubscription> make(std::size_t limit = 100,
                                           DeliverySettings settings = {}) {
        return std::make_shared<TestSubscription>(scheduler, settings, limit);
    }
    std::shared_ptr<TestSubscription> connected(std::size_t limit = 100,
                                                DeliverySettings settings = {}) {
        auto made = make(limit, settings);
        made->connect(receiver);
        return made;
    }
    static void enqueue(Subscription& subscription, int first, int last) {
        for (int i = first; i <= last; ++i)
            subscription.enqueue(test::event(i));
    }
    static void expectAddsUp(const Subscription& subscription) {
        const ConsumerCounts counts = subscription.counts();
        EXPECT_EQ(counts.sent, counts.delivered + counts.lost + counts.queued);
    }

    HandScheduler scheduler;
    std::shared_ptr<TestConsumer> receiver = std::make_shared<TestConsumer>();
};

TEST_F(SubscriptionTest, AcceptsNothingBeforeItIsConnected) {
    const auto subscription = make();
    enqueue(*subscription, 1, 1);
    EXPECT_EQ(subscription->counts().sent, 0u);
    EXPECT_TRUE(subscription->connect(receiver));
    EXPECT_FALSE(subscription->connect(receiver)) << "it has a consumer";
    EXPECT_THAT(scheduler.fast, IsEmpty());
}

TEST_F(SubscriptionTest, DeliversInOrder) {
    const auto subscription = connected();
    enqueue(*subscription, 1, 4);
    EXPECT_EQ(scheduler.fast.size(), 1u) << "one turn at a time";
    scheduler.run();
    EXPECT_THAT(receiver->got, ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(receiver->calls, 4);
    EXPECT_EQ(subscription->counts().delivered, 4u);
    expectAddsUp(*subscription);
}

TEST_F(SubscriptionTest, DeliversBatches) {
    receiver->batch = 3;
    const auto subscription = connected();
    enqueue(*subscription, 1, 7);
    scheduler.run();
    EXPECT_THAT(receiver->got, ElementsAre(1, 2, 3, 4, 5, 6, 7));
    EXPECT_EQ(receiver->calls, 3);
}

TEST_F(SubscriptionTest, WaitsForAFullBatchAsLongAsThePacingInterval) {
    receiver->batch = 3;
    const auto subscription = connected();
    subscription->setPacing(1h);
    enqueue(*subscription, 1, 2);
    scheduler.run();
    EXPECT_EQ(receiver->calls, 0);
    ASSERT_EQ(scheduler.paced.size(), 1u);
    EXPECT_GT(scheduler.due, Subscription::Clock::now() + 59min);
    HandScheduler::turn(scheduler.paced);
    EXPECT_EQ(receiver->calls, 0) << "a turn before the time";
    enqueue(*subscription, 3, 4);
    EXPECT_THAT(scheduler.paced, IsEmpty()) << "the batch is full";
    scheduler.run();
    EXPECT_THAT(receiver->got, ElementsAre(1, 2, 3));
    ASSERT_EQ(scheduler.paced.size(), 1u) << "the fourth waits again";
    subscription->setPacing(0ms);
    scheduler.run();
    EXPECT_THAT(receiver->got, ElementsAre(1, 2, 3, 4)) << "no pacing any more";
}

TEST_F(SubscriptionTest, IsNotDelayedByItsPacingOnceItIsClosed) {
    receiver->batch = 3;
    const auto subscription = connected();
    subscription->setPacing(1h);
    enqueue(*subscription, 1, 1);
    scheduler.run();
    ASSERT_EQ(scheduler.paced.size(), 1u);
    subscription->close();
    EXPECT_THAT(scheduler.paced, IsEmpty());
    scheduler.run();
    EXPECT_EQ(receiver->calls, 0);
    EXPECT_EQ(subscription.use_count(), 1);
}

TEST_F(SubscriptionTest, TakesSeveralEventsInOneTurn) {
    const auto subscription = connected();
    enqueue(*subscription, 1, 3);
    EXPECT_TRUE(HandScheduler::turn(scheduler.fast));
    EXPECT_THAT(receiver->got, ElementsAre(1, 2, 3));
    EXPECT_EQ(receiver->calls, 3);
    EXPECT_THAT(scheduler.fast, IsEmpty());
}

TEST_F(SubscriptionTest, LetsOthersHaveTheThreadWhenItsConsumerIsSlow) {
    const auto subscription = connected();
    receiver->onDeliver = [] {
        const auto begin = Subscription::Clock::now();
        while (Subscription::Clock::now() < begin + 6ms) {
        }
    };
    enqueue(*subscription, 1, 3);
    EXPECT_TRUE(HandScheduler::turn(scheduler.fast));
    EXPECT_THAT(receiver->got, ElementsAre(1));
    EXPECT_EQ(scheduler.fast.size(), 1u);
}

TEST_F(SubscriptionTest, EndsTheTurnWhenItIsSuspendedMeanwhile) {
    const auto subscription = connected();
    receiver->onDeliver = [&] { subscription->suspend(); };
    enqueue(*subscription, 1, 3);
    scheduler.run();
    EXPECT_THAT(receiver->got, ElementsAre(1));
    receiver->onDeliver = nullptr;
    subscription->resume();
    scheduler.run();
    EXPECT_THAT(receiver->got, ElementsAre(1, 2, 3));
}

TEST_F(SubscriptionTest, KeepsAnEventWhosePushTimedOutAndProbesBeforeItIsSentAgain) {
    const auto subscription = connected();
    receiver->onDeliver = timeOut;
    enqueue(*subscription, 1, 2);
    scheduler.run();
    EXPECT_THAT(scheduler.fast, IsEmpty()) << "it is served apart from those that answer";
    ASSERT_EQ(scheduler.slow.size(), 1u);
    ConsumerCounts counts = subscription->counts();
    EXPECT_FALSE(counts.answers);
    EXPECT_EQ(counts.queued, 2u);
    EXPECT_EQ(counts.failures, 1u);
    EXPECT_FALSE(counts.lastError.empty());
    expectAddsUp(*subscription);

    receiver->onDeliver = nullptr;
    receiver->onProbe = timeOut;
    HandScheduler::turn(scheduler.slow);
    EXPECT_EQ(receiver->probes, 1);
    EXPECT_EQ(receiver->calls, 0) << "no event before it answers";
    ASSERT_EQ(scheduler.slow.size(), 1u);

    receiver->onProbe = nullptr;
    HandScheduler::turn(scheduler.slow);
    EXPECT_THAT(receiver->got, ElementsAre(1));
    EXPECT_TRUE(subscription->counts().answers);
    scheduler.run();
    EXPECT_THAT(receiver->got, ElementsAre(1, 2));
    EXPECT_EQ(receiver->probes, 2);
    EXPECT_THAT(subscription->lost, IsEmpty());
}

TEST_F(SubscriptionTest, WaitsLongerAfterEachProbeInVain) {
    DeliverySettings settings;
    settings.firstBackOff = 1h;
    settings.longestBackOff = 3h;
    const auto subscription = connected(100, settings);
    receiver->onDeliver = timeOut;
    receiver->onProbe = timeOut;
    enqueue(*subscription, 1, 1);
    scheduler.run();
    const auto waits = [&] {
        return std::chrono::round<std::chrono::hours>(scheduler.due - Subscription::Clock::now());
    };
    EXPECT_EQ(waits(), 1h);
    for (const auto expected : {2h, 3h, 3h}) {
        HandScheduler::turn(scheduler.slow);
        EXPECT_EQ(waits(), expected);
    }
}

TEST_F(SubscriptionTest, GivesUpAConsumerThatDoesNotAnswerForTooLong) {
    DeliverySettings settings;
    settings.deadAfter = 0ms;
    const auto subscription = connected(100, settings);
    receiver->onDeliver = timeOut;
    enqueue(*subscription, 1, 3);
    scheduler.run();
    EXPECT_EQ(subscription->deaths.size(), 1u);
    EXPECT_THAT(subscription->lost, ElementsAre(1));
    EXPECT_EQ(subscription->counts().lost, 3u);
    EXPECT_EQ(subscription->counts().queued, 0u);
    expectAddsUp(*subscription);
    EXPECT_THAT(scheduler.slow, IsEmpty());
    EXPECT_FALSE(subscription->isConnected());
}

TEST_F(SubscriptionTest, GivesUpAConsumerWhoseObjectIsGoneAtOnce) {
    const auto subscription = connected();
    receiver->onDeliver = [] { throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO); };
    enqueue(*subscription, 1, 2);
    scheduler.run();
    EXPECT_EQ(subscription->deaths.size(), 1u);
    EXPECT_EQ(subscription->counts().lost, 2u);
}

TEST_F(SubscriptionTest, GivesUpAConsumerThatSaysItIsDisconnected) {
    const auto subscription = connected();
    receiver->onDeliver = [] { throw CosEventComm::Disconnected(); };
    enqueue(*subscription, 1, 1);
    scheduler.run();
    EXPECT_EQ(subscription->deaths.size(), 1u);
}

TEST_F(SubscriptionTest, LosesAnEventThatTheConsumerRefusesAndGoesOn) {
    const auto subscription = connected();
    receiver->onDeliver = [this] {
        receiver->onDeliver = nullptr;
        throw CORBA::UNKNOWN(0, CORBA::COMPLETED_YES);
    };
    enqueue(*subscription, 1, 2);
    scheduler.run();
    EXPECT_THAT(receiver->got, ElementsAre(2));
    EXPECT_THAT(subscription->lost, ElementsAre(1));
    expectAddsUp(*subscription);
}

TEST_F(SubscriptionTest, ReportsTheFirstEventThatDoesNotFit) {
    const auto subscription = connected(2);
    enqueue(*subscription, 1, 4);
    EXPECT_THAT(subscription->lost, ElementsAre(1, 2));
    scheduler.run();
    EXPECT_THAT(receiver->got, ElementsAre(3, 4));
    expectAddsUp(*subscription);
}

TEST_F(SubscriptionTest, CountsEventsBeyondTheirTimeoutAndReportsNoLoss) {
    const auto subscription = connected();
    subscription->setRules({.timeout = 1s});
    subscription->enqueue(test::event(1, Subscription::Clock::now() - 2s));
    subscription->enqueue(test::event(2));
    scheduler.run();
    EXPECT_THAT(receiver->got, ElementsAre(2));
    EXPECT_THAT(subscription->lost, IsEmpty());
    EXPECT_EQ(subscription->counts().lostByOwnLimits, 1u);
    EXPECT_EQ(subscription->counts().lost, 1u);
    expectAddsUp(*subscription);
}

TEST_F(SubscriptionTest, ReportsNoLossForALimitOfTheConsumersOwn) {
    const auto subscription = connected(100);
    subscription->setQueueLimit(2, true);
    enqueue(*subscription, 1, 4);
    EXPECT_THAT(subscription->lost, IsEmpty());
    EXPECT_EQ(subscription->counts().lostByOwnLimits, 2u);
    scheduler.run();
    EXPECT_THAT(receiver->got, ElementsAre(3, 4));
    expectAddsUp(*subscription);
}

TEST_F(SubscriptionTest, IsServedAgainAfterATurnForWhichThereWasNoMemory) {
    const auto subscription = connected();
    receiver->onDeliver = [] { throw std::bad_alloc(); };
    enqueue(*subscription, 1, 2);
    scheduler.run();
    EXPECT_EQ(subscription->counts().queued, 2u) << "it waits again";
    EXPECT_THAT(scheduler.fast, IsEmpty());
    ASSERT_EQ(scheduler.paced.size(), 1u) << "and is not tried at once";
    receiver->onDeliver = nullptr;
    HandScheduler::turn(scheduler.paced);
    EXPECT_THAT(receiver->got, ElementsAre(1, 2));
    EXPECT_TRUE(subscription->counts().answers);
    EXPECT_THAT(subscription->lost, IsEmpty());
    expectAddsUp(*subscription);
}

TEST_F(SubscriptionTest, IsProbedAgainAfterAProbeForWhichThereWasNoMemory) {
    const auto subscription = connected();
    receiver->onDeliver = timeOut;
    enqueue(*subscription, 1, 1);
    scheduler.run();
    receiver->onDeliver = nullptr;
    receiver->onProbe = [] { throw std::bad_alloc(); };
    HandScheduler::turn(scheduler.slow);
    ASSERT_EQ(scheduler.slow.size(), 1u);
    receiver->onProbe = nullptr;
    HandScheduler::turn(scheduler.slow);
    EXPECT_THAT(receiver->got, ElementsAre(1));
}

TEST_F(SubscriptionTest, IsScheduledLaterWhenThereWasNoMemoryForIt) {
    const auto subscription = connected();
    scheduler.hasNoMemory = true;
    enqueue(*subscription, 1, 1);
    EXPECT_THAT(scheduler.fast, IsEmpty());
    scheduler.hasNoMemory = false;
    subscription->tend(Subscription::Clock::now());
    scheduler.run();
    EXPECT_THAT(receiver->got, ElementsAre(1));
}

TEST_F(SubscriptionTest, IsScheduledLaterWhenThereWasNoMemoryAtTheEndOfATurn) {
    const auto subscription = connected();
    receiver->onDeliver = timeOut;
    enqueue(*subscription, 1, 1);
    scheduler.hasNoMemory = true;
    scheduler.run();
    EXPECT_THAT(scheduler.slow, IsEmpty());
    scheduler.hasNoMemory = false;
    receiver->onDeliver = nullptr;
    subscription->tend(Subscription::Clock::now());
    HandScheduler::turn(scheduler.slow);
    EXPECT_THAT(receiver->got, ElementsAre(1));
}

TEST_F(SubscriptionTest, ReportsADeathAgainWhenThereWasNoMemoryForIt) {
    const auto subscription = connected();
    receiver->onDeliver = [] { throw CosEventComm::Disconnected(); };
    subscription->deathsWithoutMemory = 1;
    enqueue(*subscription, 1, 1);
    scheduler.run();
    EXPECT_THAT(subscription->deaths, IsEmpty());
    EXPECT_TRUE(subscription->isClosed());
    subscription->tend(Subscription::Clock::now());
    EXPECT_EQ(subscription->deaths.size(), 1u);
    subscription->tend(Subscription::Clock::now());
    EXPECT_EQ(subscription->deaths.size(), 1u);
}

TEST_F(SubscriptionTest, DoesNotGiveUpAConsumerForTheTimeOfItsSuspension) {
    DeliverySettings settings;
    settings.deadAfter = 2s;
    const auto subscription = connected(100, settings);
    receiver->onDeliver = timeOut;
    receiver->onProbe = timeOut;
    enqueue(*subscription, 1, 1);
    scheduler.run();
    subscription->suspend();
    std::this_thread::sleep_for(2100ms);
    subscription->resume();
    HandScheduler::turn(scheduler.slow);
    EXPECT_EQ(receiver->probes, 1);
    EXPECT_THAT(subscription->deaths, IsEmpty()) << "it has failed once since it was resumed";
}

TEST_F(SubscriptionTest, SuspendedKeepsItsEventsAndDeliversThemAfterwards) {
    using Change = Subscription::Change;
    const auto unconnected = make();
    EXPECT_EQ(unconnected->suspend(), Change::NotConnected);
    EXPECT_EQ(unconnected->resume(), Change::NotConnected);
    const auto subscription = connected();
    EXPECT_EQ(subscription->resume(), Change::WasSo);
    EXPECT_EQ(subscription->suspend(), Change::Done);
    EXPECT_EQ(subscription->suspend(), Change::WasSo);
    enqueue(*subscription, 1, 2);
    scheduler.run();
    EXPECT_EQ(receiver->calls, 0);
    EXPECT_TRUE(subscription->counts().suspended);
    EXPECT_EQ(subscription->resume(), Change::Done);
    scheduler.run();
    EXPECT_THAT(receiver->got, ElementsAre(1, 2));
}

TEST_F(SubscriptionTest, ThatIsClosedDeliversNothingMoreAndReportsNoLoss) {
    const auto subscription = connected();
    enqueue(*subscription, 1, 2);
    EXPECT_EQ(subscription->close(), receiver);
    EXPECT_EQ(subscription->close(), nullptr);
    scheduler.run();
    enqueue(*subscription, 3, 3);
    EXPECT_EQ(receiver->calls, 0);
    EXPECT_THAT(subscription->lost, IsEmpty());
    EXPECT_EQ(subscription->counts().lost, 2u);
    expectAddsUp(*subscription);
    EXPECT_FALSE(subscription->connect(receiver));
}

TEST_F(SubscriptionTest, ThatIsClosedDuringADeliveryCountsIt) {
    const auto subscription = connected();
    receiver->onDeliver = [&] { subscription->close(); };
    enqueue(*subscription, 1, 2);
    scheduler.run();
    EXPECT_EQ(subscription->counts().delivered, 1u);
    EXPECT_EQ(subscription->counts().lost, 1u);
    expectAddsUp(*subscription);
}

TEST_F(SubscriptionTest, IsSettledBelowHalfOfItsQueueOrWithoutAnswer) {
    const auto subscription = connected(4);
    enqueue(*subscription, 1, 1);
    EXPECT_TRUE(subscription->isSettled());
    enqueue(*subscription, 2, 2);
    EXPECT_FALSE(subscription->isSettled());
    receiver->onDeliver = timeOut;
    scheduler.run();
    EXPECT_TRUE(subscription->isSettled()) << "it does not answer";
}

TEST_F(SubscriptionTest, HandsEventsToAConsumerThatPulls) {
    const auto subscription = make();
    EXPECT_THROW(subscription->pull(1, false), CosEventComm::Disconnected);
    EXPECT_TRUE(subscription->connectPull());
    EXPECT_FALSE(subscription->connectPull());
    EXPECT_THAT(subscription->pull(1, false), IsEmpty());
    enqueue(*subscription, 1, 3);
    EXPECT_EQ(test::numberOf(subscription->pull(1, true).front()), 1);
    EXPECT_EQ(subscription->pull(10, true).size(), 2u);
    EXPECT_EQ(subscription->counts().delivered, 3u);
    EXPECT_THAT(scheduler.fast, IsEmpty());
}

TEST_F(SubscriptionTest, HandsOutBatchesThatAreFullOrOldEnough) {
    const auto subscription = make();
    subscription->connectPull();
    subscription->setPacing(1h);
    enqueue(*subscription, 1, 2);
    EXPECT_THAT(subscription->pull(3, false), IsEmpty());
    enqueue(*subscription, 3, 4);
    EXPECT_EQ(subscription->pull(3, true).size(), 3u);
    EXPECT_THAT(subscription->pull(3, false), IsEmpty()) << "the fourth waits for others";
    subscription->enqueue(test::event(5));
    subscription->setPacing(0ms);
    EXPECT_EQ(subscription->pull(3, false).size(), 2u);
    subscription->setPacing(1h);
    subscription->enqueue(test::event(6, Subscription::Clock::now() - 2h));
    EXPECT_EQ(subscription->pull(3, true).size(), 1u) << "it has waited long enough";
}

TEST_F(SubscriptionTest, EndsAPullThatWaitsForAFullBatchWithThePacing) {
    const auto subscription = make();
    subscription->connectPull();
    subscription->setPacing(1h);
    enqueue(*subscription, 1, 1);
    std::atomic<std::size_t> got{0};
    std::thread puller([&] { got = subscription->pull(2, true).size(); });
    subscription->setPacing(1ms);
    puller.join();
    EXPECT_EQ(got, 1u);
}

TEST_F(SubscriptionTest, GivesUpAConsumerThatHasStoppedPulling) {
    DeliverySettings settings;
    settings.deadAfter = 10min;
    settings.pushTimeout = 10s;
    const auto subscription = make(4, settings);
    subscription->connectPull();
    const auto begin = Subscription::Clock::now();
    subscription->tend(begin + 1h);
    EXPECT_THAT(subscription->deaths, IsEmpty()) << "nothing waits for it";
    enqueue(*subscription, 1, 3);
    EXPECT_TRUE(subscription->counts().answers);
    EXPECT_FALSE(subscription->isSettled());
    subscription->tend(begin + 9min);
    EXPECT_THAT(subscription->deaths, IsEmpty());
    subscription->pull(1, false);
    const auto pulled = Subscription::Clock::now();
    subscription->tend(pulled + 9min);
    EXPECT_THAT(subscription->deaths, IsEmpty());
    subscription->tend(pulled + 11min);
    EXPECT_EQ(subscription->deaths.size(), 1u);
    EXPECT_THAT(subscription->lost, ElementsAre(2)) << "what waited is lost";
    EXPECT_THROW(subscription->pull(1, false), CosEventComm::Disconnected);
    expectAddsUp(*subscription);
}

TEST_F(SubscriptionTest, WithoutPullsKeepsNoEventLossOpen) {
    DeliverySettings settings;
    settings.pushTimeout = 0ms;
    const auto subscription = make(4, settings);
    subscription->connectPull();
    enqueue(*subscription, 1, 3);
    EXPECT_TRUE(subscription->isSettled());
    EXPECT_FALSE(subscription->counts().answers);
}

TEST_F(SubscriptionTest, WakesAPullThatWaitsWithAnEventOrItsEnd) {
    const auto subscription = make();
    subscription->connectPull();
    std::atomic<int> got{0};
    std::atomic<bool> disconnected{false};
    std::thread puller([&] {
        try {
            got = test::numberOf(subscription->pull(1, true).front());
            subscription->pull(1, true);
        } catch (const CosEventComm::Disconnected&) {
            disconnected = true;
        }
    });
    enqueue(*subscription, 7, 7);
    while (got == 0)
        std::this_thread::yield();
    EXPECT_EQ(got, 7);
    EXPECT_FALSE(disconnected);
    subscription->close();
    puller.join();
    EXPECT_TRUE(disconnected);
}

}  // namespace
}  // namespace kelp::notification
