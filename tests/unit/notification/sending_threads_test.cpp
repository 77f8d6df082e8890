#include "delivery/sending_threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <numeric>

#include "hand_pushes.h"
#include "quiet_subscription.h"
#include "support/wait_until.h"

namespace kelp::notification {
namespace {

using namespace std::chrono_literals;
using kelp::test::waitUntil;
using test::HandPushes;
using test::QuietSubscription;
using testing::ElementsAre;

/// Gives everything to the threads under test.
class OnlySending final : public Subscription::Scheduler {
  public:
    explicit OnlySending(SendingThreads& threads) : threads_(threads) {}
    void ready(std::shared_ptr<Subscription>) override {}
    void later(std::shared_ptr<Subscription>, Subscription::Clock::time_point, bool) override {}
    void sooner(const Subscription& subscription, Subscription::Clock::time_point when) override {
        threads_.sooner(subscription, when);
    }
    void readyToSend(std::shared_ptr<Subscription> subscription) override {
        threads_.ready(std::move(subscription));
    }
    bool mayContinue() const override { return threads_.mayContinue(); }
    void laterToSend(std::shared_ptr<Subscription> subscription,
                     Subscription::Clock::time_point when) override {
        threads_.later(std::move(subscription), when);
    }

  private:
    SendingThreads& threads_;
};

class SendingThreadsTest : public testing::Test {
  protected:
    explicit SendingThreadsTest(std::size_t threads = 2)
        : threads_(threads, std::unique_ptr<kelp::orb::AwaitedPushes>(pushes_)) {}

    struct Line {
        std::shared_ptr<test::SendingConsumer> consumer;
        std::shared_ptr<QuietSubscription> subscription;
    };

    Line connect(const std::string& owner = "owner") {
        Line made{std::make_shared<test::SendingConsumer>(pushes()),
                  std::make_shared<QuietSubscription>(scheduler_, DeliverySettings{}, 100000)};
        made.subscription->owner = owner;
        made.subscription->connect(made.consumer);
        return made;
    }
    HandPushes& pushes() { return *pushes_; }

    HandPushes* const pushes_ = new HandPushes;  // owned by threads_
    SendingThreads threads_;
    OnlySending scheduler_{threads_};
};

class OneSendingThread : public SendingThreadsTest {
  protected:
    OneSendingThread() : SendingThreadsTest(1) {}
};

TEST_F(SendingThreadsTest, KeepEveryConsumersOrder) {
    constexpr int kEvents = 2000;
    pushes().acceptAll();
    std::vector<Line> lines;
    for (int i = 0; i < 20; ++i)
        lines.push_back(connect(std::to_string(i % 3)));
    for (int i = 1; i <= kEvents; ++i) {
        const SendingThreads::HandOver together(threads_);
        const EventPtr event = test::event(i);
        for (const Line& each : lines)
            each.subscription->enqueue(event);
    }
    std::vector<int> all(kEvents);
    std::iota(all.begin(), all.end(), 1);
    for (const Line& each : lines) {
        EXPECT_TRUE(waitUntil([&] { return each.subscription->counts().delivered == kEvents; }));
        EXPECT_EQ(each.consumer->numbersSent(), all);
    }
}

TEST_F(SendingThreadsTest, ServeOneWhileThePushesOfAllOthersHang) {
    std::vector<Line> hanging;
    for (int i = 0; i < 100; ++i) {
        hanging.push_back(connect());
        hanging.back().subscription->enqueue(test::event(1));
    }
    EXPECT_TRUE(waitUntil([&] { return pushes().awaited() == 100; }));
    const Line healthy = connect();
    healthy.subscription->enqueue(test::event(1));
    EXPECT_TRUE(waitUntil([&] { return !healthy.consumer->numbersSent().empty(); }));
    pushes().acceptAll();
    pushes().wake();
    EXPECT_TRUE(waitUntil([&] { return pushes().awaited() == 0; }));
}

TEST_F(OneSendingThread, LetsOwnersTakeTurns) {
    std::mutex mutex;
    std::vector<std::string> order;
    std::vector<Line> lines;
    const auto add = [&](const std::string& owner) {
        lines.push_back(connect(owner));
        lines.back().consumer->onSend = [&mutex, &order, owner] {
            const std::lock_guard lock(mutex);
            order.push_back(owner);
        };
    };
    for (int i = 0; i < 50; ++i)
        add("many");
    add("one");
    {
        const SendingThreads::HandOver together(threads_);
        for (const Line& each : lines)
            each.subscription->enqueue(test::event(1));
        EXPECT_EQ(pushes().awaited(), 0u) << "handed over one by one";
    }
    EXPECT_TRUE(waitUntil([&] { return pushes().awaited() == lines.size(); }));
    const std::lock_guard lock(mutex);
    const auto one = std::find(order.begin(), order.end(), "one") - order.begin();
    EXPECT_LE(one, 1);
    pushes().acceptAll();
}

TEST_F(SendingThreadsTest, LetAConsumerGoOnOnlyWhileNobodyWaits) {
    EXPECT_TRUE(threads_.mayContinue());
    const Line line = connect();
    {
        const SendingThreads::HandOver together(threads_);
        line.subscription->enqueue(test::event(1));
        EXPECT_FALSE(threads_.mayContinue()) << "one is about to be handed over";
    }
    EXPECT_TRUE(waitUntil([&] { return pushes().awaited() == 1 && threads_.mayContinue(); }));
    line.subscription->enqueue(test::event(2));
    pushes().end();
    EXPECT_THAT(line.consumer->numbersSent(), ElementsAre(1, 2)) << "it has to take a new turn";
    pushes().acceptAll();
    pushes().wake();
    EXPECT_TRUE(waitUntil([&] { return pushes().awaited() == 0; }));
}

TEST_F(SendingThreadsTest, LetNobodyGoOnWhileVeryManyPushesAreInProgress) {
    std::vector<Line> lines;
    for (int i = 0; i < 100; ++i) {
        lines.push_back(connect());
        lines.back().subscription->enqueue(test::event(1));
    }
    EXPECT_TRUE(waitUntil([&] { return pushes().awaited() == lines.size(); }));
    EXPECT_FALSE(threads_.mayContinue());
    while (pushes().awaited() > 50)
        pushes().end();
    EXPECT_TRUE(waitUntil([&] { return threads_.mayContinue(); }));
    pushes().acceptAll();
    pushes().wake();
    EXPECT_TRUE(waitUntil([&] { return pushes().awaited() == 0; }));
}

TEST_F(SendingThreadsTest, ServeABatchWhenItIsOldEnough) {
    const Line line = connect();
    line.consumer->batch = 10;
    line.subscription->setPacing(50ms);
    line.subscription->enqueue(test::event(1));
    line.subscription->enqueue(test::event(2));
    EXPECT_TRUE(waitUntil([&] { return line.consumer->numbersSent().size() == 2; }));
    pushes().acceptAll();
}

TEST_F(SendingThreadsTest, ServeABatchSoonerWhenItIsFull) {
    const Line line = connect();
    line.consumer->batch = 2;
    line.subscription->setPacing(1h);
    line.subscription->enqueue(test::event(1));
    line.subscription->enqueue(test::event(2));
    EXPECT_TRUE(waitUntil([&] { return line.consumer->numbersSent().size() == 2; }));
    pushes().acceptAll();
}

TEST_F(SendingThreadsTest, StopAfterThePushesInProgress) {
    const Line line = connect();
    line.subscription->enqueue(test::event(1));
    line.subscription->enqueue(test::event(2));
    ASSERT_TRUE(waitUntil([&] { return pushes().awaited() == 1; }));
    std::future<void> stopping = std::async(std::launch::async, [this] { threads_.stop(); });
    EXPECT_EQ(stopping.wait_for(50ms), std::future_status::timeout);
    pushes().acceptAll();
    EXPECT_EQ(stopping.wait_for(20s), std::future_status::ready);
    EXPECT_THAT(line.consumer->numbersSent(), ElementsAre(1)) << "the second is forgotten";
    EXPECT_FALSE(threads_.mayContinue());
}

TEST(SendingThreads, RefuseConsumersIfNothingCanBeSent) {
    SendingThreads threads(1, nullptr);
    OnlySending scheduler(threads);
    const auto subscription =
        std::make_shared<QuietSubscription>(scheduler, DeliverySettings{}, 10);
    EXPECT_FALSE(threads.ready(subscription));
    EXPECT_FALSE(threads.later(subscription, Subscription::Clock::now()));
    EXPECT_FALSE(threads.sooner(*subscription, Subscription::Clock::now()));
    threads.stop();
}

}  // namespace
}  // namespace kelp::notification
