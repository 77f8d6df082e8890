#include <cos/CosEventComm.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <new>

#include "delivery/subscription.h"
#include "hand_pushes.h"

namespace kelp::notification {
namespace {

using namespace std::chrono_literals;
using kelp::orb::EndedPush;
using test::HandPushes;
using testing::ElementsAre;
using testing::IsEmpty;

/// Keeps the turns that are due. The test takes them.
class TurnKeeper final : public Subscription::Scheduler {
  public:
    using Queue = std::deque<std::shared_ptr<Subscription>>;

    void ready(std::shared_ptr<Subscription> subscription) override {
        toServe.push_back(std::move(subscription));
    }
    void later(std::shared_ptr<Subscription> subscription, Subscription::Clock::time_point,
               bool isSlow) override {
        (isSlow ? slow : toServe).push_back(std::move(subscription));
    }
    void sooner(const Subscription&, Subscription::Clock::time_point) override {}
    void readyToSend(std::shared_ptr<Subscription> subscription) override {
        toSend.push_back(std::move(subscription));
    }
    bool mayContinue() const override { return isFree; }
    void laterToSend(std::shared_ptr<Subscription> subscription,
                     Subscription::Clock::time_point) override {
        toSendLater.push_back(std::move(subscription));
    }

    bool isFree = false;
    Queue toServe;
    Queue slow;
    Queue toSend;
    Queue toSendLater;
};

class CountingSubscription final : public Subscription {
  public:
    using Subscription::Subscription;
    std::vector<int> lost;
    std::vector<std::string> deaths;

  private:
    void eventsLost(const Event& first) override { lost.push_back(test::numberOf(first.view())); }
    void consumerDied(const std::string& why) override { deaths.push_back(why); }
};

class SentEvents : public testing::Test {
  protected:
    SentEvents() { subscription->connect(consumer); }

    void enqueue(int first, int last) {
        for (int i = first; i <= last; ++i)
            subscription->enqueue(test::event(i));
    }
    bool send() {
        const bool isDue = take(keeper.toSend);
        if (isDue)
            subscription->send(pushes);
        return isDue;
    }
    bool serve(TurnKeeper::Queue& queue) {
        const bool isDue = take(queue);
        if (isDue)
            subscription->serve();
        return isDue;
    }
    static bool take(TurnKeeper::Queue& queue) {
        if (queue.empty())
            return false;
        queue.pop_front();
        return true;
    }
    void expectNoTurn() const {
        EXPECT_THAT(keeper.toSend, IsEmpty());
        EXPECT_THAT(keeper.toServe, IsEmpty());
        EXPECT_THAT(keeper.slow, IsEmpty());
    }

    TurnKeeper keeper;
    HandPushes pushes;
    std::shared_ptr<test::SendingConsumer> consumer =
        std::make_shared<test::SendingConsumer>(pushes);
    std::shared_ptr<CountingSubscription> subscription =
        std::make_shared<CountingSubscription>(keeper, DeliverySettings{}, 100);
};

TEST_F(SentEvents, AreSentOneByOneInOrder) {
    enqueue(1, 3);
    EXPECT_EQ(keeper.toSend.size(), 1u);
    ASSERT_TRUE(send());
    EXPECT_THAT(consumer->sent, ElementsAre(1));
    expectNoTurn();
    enqueue(4, 4);
    expectNoTurn();
    for (int i = 0; i < 3; ++i) {
        pushes.end();
        ASSERT_TRUE(send());
    }
    pushes.end();
    expectNoTurn();
    EXPECT_THAT(consumer->sent, ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(subscription->counts().delivered, 4u);
    EXPECT_EQ(subscription->counts().pushCalls, 4u);
    EXPECT_EQ(subscription->counts().queued, 0u);
}

TEST_F(SentEvents, FollowEachOtherWithoutANewTurnWhileNobodyWaits) {
    keeper.isFree = true;
    enqueue(1, 4);
    ASSERT_TRUE(send());
    pushes.end();
    pushes.end();
    EXPECT_THAT(consumer->sent, ElementsAre(1, 2, 3));
    expectNoTurn();
    keeper.isFree = false;
    pushes.end();
    EXPECT_THAT(consumer->sent, ElementsAre(1, 2, 3));
    ASSERT_TRUE(send());
    pushes.end();
    EXPECT_THAT(consumer->sent, ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(subscription->counts().delivered, 4u);
    expectNoTurn();
}

TEST_F(SentEvents, FollowNoFailureWithoutANewTurn) {
    keeper.isFree = true;
    enqueue(1, 2);
    ASSERT_TRUE(send());
    pushes.end([]() -> EndedPush::End { throw CORBA::TIMEOUT(0, CORBA::COMPLETED_MAYBE); });
    EXPECT_THAT(consumer->sent, ElementsAre(1));
    EXPECT_EQ(keeper.slow.size(), 1u);
}

TEST_F(SentEvents, DoNotFollowASuspensionOrTheEndOfTheConsumer) {
    keeper.isFree = true;
    enqueue(1, 3);
    ASSERT_TRUE(send());
    EXPECT_EQ(subscription->suspend(), Subscription::Change::Done);
    pushes.end();
    EXPECT_THAT(consumer->sent, ElementsAre(1));
    EXPECT_EQ(subscription->resume(), Subscription::Change::Done);
    ASSERT_TRUE(send());
    EXPECT_EQ(subscription->close(), consumer);
    pushes.end();
    EXPECT_THAT(consumer->sent, ElementsAre(1, 2));
    expectNoTurn();
}

TEST_F(SentEvents, AreLeftToAThreadThatWaitsIfTheNextCannotBeSent) {
    keeper.isFree = true;
    enqueue(1, 2);
    ASSERT_TRUE(send());
    consumer->isRefusing = true;
    pushes.end();
    EXPECT_THAT(keeper.toSend, IsEmpty());
    ASSERT_TRUE(serve(keeper.toServe));
    EXPECT_THAT(consumer->delivered, ElementsAre(2));
}

TEST_F(SentEvents, AreSentInBatches) {
    consumer->batch = 3;
    enqueue(1, 5);
    ASSERT_TRUE(send());
    pushes.end();
    ASSERT_TRUE(send());
    pushes.end();
    EXPECT_THAT(consumer->sent, ElementsAre(1, 2, 3, 4, 5));
    EXPECT_EQ(subscription->counts().pushCalls, 2u);
}

TEST_F(SentEvents, WaitForTheirPacing) {
    consumer->batch = 3;
    subscription->setPacing(1h);
    enqueue(1, 1);
    ASSERT_TRUE(send());
    EXPECT_THAT(consumer->sent, IsEmpty());
    EXPECT_EQ(keeper.toSendLater.size(), 1u);
}

TEST_F(SentEvents, AreLeftToAThreadThatWaitsIfTheyCannotBeSent) {
    consumer->isRefusing = true;
    enqueue(1, 2);
    ASSERT_TRUE(send());
    EXPECT_THAT(keeper.toSend, IsEmpty());
    consumer->isRefusing = false;
    ASSERT_TRUE(serve(keeper.toServe));
    EXPECT_THAT(consumer->delivered, ElementsAre(1, 2));
    enqueue(3, 3);
    ASSERT_TRUE(send());
    EXPECT_THAT(consumer->sent, ElementsAre(3));
}

TEST_F(SentEvents, AreTriedEverMoreRarelyIfTheyCanNeverBeSent) {
    consumer->isRefusing = true;
    int attempts = 0;
    consumer->onSend = [&] { ++attempts; };
    constexpr int kEvents = 1000;
    for (int i = 1; i <= kEvents; ++i) {
        enqueue(i, i);
        send();
        serve(keeper.toServe);
    }
    EXPECT_EQ(consumer->delivered.size(), static_cast<std::size_t>(kEvents));
    EXPECT_GT(attempts, 10) << "it never tries again";
    EXPECT_LT(attempts, 30);
}

TEST_F(SentEvents, AreRepeatedByAThreadThatWaitsIfTheirEndIsUndecided) {
    enqueue(1, 2);
    ASSERT_TRUE(send());
    pushes.end([] { return EndedPush::End::Undecided; });
    EXPECT_THAT(keeper.toSend, IsEmpty());
    ASSERT_TRUE(serve(keeper.toServe));
    EXPECT_THAT(consumer->delivered, ElementsAre(1, 2));
    EXPECT_EQ(subscription->counts().delivered, 2u);
    EXPECT_EQ(subscription->counts().failures, 0u);
}

TEST_F(SentEvents, MakeTheConsumerSilentIfItDoesNotAnswer) {
    enqueue(1, 1);
    ASSERT_TRUE(send());
    pushes.end([]() -> EndedPush::End { throw CORBA::TIMEOUT(0, CORBA::COMPLETED_MAYBE); });
    EXPECT_FALSE(subscription->counts().answers);
    EXPECT_EQ(subscription->counts().failures, 1u);
    EXPECT_THAT(keeper.toSend, IsEmpty());
    ASSERT_TRUE(serve(keeper.slow));
    EXPECT_EQ(consumer->probes, 1);
    EXPECT_THAT(consumer->delivered, ElementsAre(1));
    enqueue(2, 2);
    EXPECT_TRUE(send()) << "it answers again";
}

TEST_F(SentEvents, EndWithAConsumerThatIsDisconnected) {
    enqueue(1, 2);
    ASSERT_TRUE(send());
    pushes.end([]() -> EndedPush::End { throw CosEventComm::Disconnected(); });
    EXPECT_THAT(subscription->deaths, ElementsAre("it is disconnected"));
    EXPECT_THAT(subscription->lost, ElementsAre(1));
    EXPECT_TRUE(subscription->isClosed());
    expectNoTurn();
}

TEST_F(SentEvents, AreLostIfTheConsumerRefusesThem) {
    enqueue(1, 2);
    ASSERT_TRUE(send());
    pushes.end([]() -> EndedPush::End { throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO); });
    EXPECT_THAT(subscription->lost, ElementsAre(1));
    ASSERT_TRUE(send());
    EXPECT_THAT(consumer->sent, ElementsAre(1, 2));
}

TEST_F(SentEvents, AreLostIfTheyCannotBeEncoded) {
    consumer->onSend = [] { throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO); };
    enqueue(1, 1);
    ASSERT_TRUE(send());
    EXPECT_THAT(subscription->lost, ElementsAre(1));
    EXPECT_EQ(subscription->counts().queued, 0u);
}

TEST_F(SentEvents, StayWithoutMemoryForSendingThem) {
    consumer->onSend = [] { throw std::bad_alloc(); };
    enqueue(1, 1);
    ASSERT_TRUE(send());
    EXPECT_EQ(subscription->counts().queued, 1u);
    EXPECT_EQ(subscription->counts().failures, 1u);
    consumer->onSend = nullptr;
    ASSERT_TRUE(take(keeper.toSendLater));
    subscription->send(pushes);
    EXPECT_THAT(consumer->sent, ElementsAre(1));
}

TEST_F(SentEvents, EndQuietlyAfterTheConsumerIsClosed) {
    enqueue(1, 2);
    ASSERT_TRUE(send());
    EXPECT_EQ(subscription->close(), consumer);
    pushes.end();
    EXPECT_EQ(subscription->counts().queued, 0u);
    EXPECT_THAT(subscription->deaths, IsEmpty());
    expectNoTurn();
}

TEST_F(SentEvents, EndBeforeASuspensionTakesEffect) {
    enqueue(1, 2);
    ASSERT_TRUE(send());
    EXPECT_EQ(subscription->suspend(), Subscription::Change::Done);
    pushes.end();
    EXPECT_EQ(subscription->counts().delivered, 1u);
    expectNoTurn();
    EXPECT_EQ(subscription->resume(), Subscription::Change::Done);
    ASSERT_TRUE(send());
    EXPECT_THAT(consumer->sent, ElementsAre(1, 2));
}

TEST_F(SentEvents, AreScheduledAnewIfTheirTurnWasNot) {
    enqueue(1, 1);
    ASSERT_TRUE(take(keeper.toSend));
    subscription->wasNotScheduled();
    subscription->tend(Subscription::Clock::now());
    ASSERT_TRUE(send());
    EXPECT_THAT(consumer->sent, ElementsAre(1));
}

}  // namespace
}  // namespace kelp::notification
