#include "delivery/delivery_threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

#include "numbered_events.h"
#include "quiet_subscription.h"
#include "support/wait_until.h"

namespace kelp::notification {
namespace {

using namespace std::chrono_literals;
using kelp::test::waitUntil;
using test::QuietSubscription;

class CountingConsumer final : public ConnectedConsumer {
  public:
    std::size_t batchMax() const override { return 1; }
    void deliver(const std::vector<EventPtr>& events) override {
        if (gate.valid())
            gate.wait();
        const int number = test::numberOf(events.front());
        inOrder = inOrder && number == last + 1;
        last = number;
        if (failsOnce.exchange(false))
            throw CORBA::TRANSIENT(0, CORBA::COMPLETED_NO);
    }
    void probe() override {
        if (probeGate.valid())
            probeGate.wait();
        // the event that failed is sent again
        --last;
    }
    void disconnect() override {}

    std::shared_future<void> gate;
    std::shared_future<void> probeGate;
    std::atomic<bool> failsOnce{false};
    std::atomic<int> last{0};
    std::atomic<bool> inOrder{true};
};

struct Consumer {
    explicit Consumer(DeliveryThreads& threads, DeliverySettings settings = {})
        : subscription(std::make_shared<QuietSubscription>(threads, settings, 100000)) {
        subscription->connect(receiver);
    }
    std::shared_ptr<CountingConsumer> receiver = std::make_shared<CountingConsumer>();
    std::shared_ptr<QuietSubscription> subscription;
};

TEST(DeliveryThreads, GrowsAndShrinksWithTheConsumersUpToItsLimit) {
    DeliveryThreads threads(3, 2);
    EXPECT_EQ(threads.threads(), 0u);
    threads.serveConsumers(2);
    EXPECT_EQ(threads.threads(), 2u);
    threads.serveConsumers(9);
    EXPECT_EQ(threads.threads(), 3u);
    threads.serveConsumers(1);
    EXPECT_TRUE(waitUntil([&] { return threads.threads() == 1; }));
    threads.serveConsumers(0);
    EXPECT_TRUE(waitUntil([&] { return threads.threads() == 0; }));
    Consumer consumer(threads);
    consumer.subscription->enqueue(test::event(1));
    threads.serveConsumers(1);
    EXPECT_TRUE(waitUntil([&] { return consumer.receiver->last == 1; }));
}

TEST(DeliveryThreads, KeepsEveryConsumersOrderOnManyThreads) {
    constexpr int kEvents = 3000;
    DeliveryThreads threads(8, 2);
    std::vector<Consumer> consumers;
    for (int i = 0; i < 12; ++i)
        consumers.emplace_back(threads);
    threads.serveConsumers(consumers.size());
    for (int i = 1; i <= kEvents; ++i) {
        const EventPtr event = test::event(i);
        for (Consumer& each : consumers)
            each.subscription->enqueue(event);
    }
    for (Consumer& each : consumers) {
        EXPECT_TRUE(waitUntil([&] { return each.receiver->last == kEvents; }));
        EXPECT_TRUE(each.receiver->inOrder);
    }
}

TEST(DeliveryThreads, ServesTheOthersWhileOneHangs) {
    DeliveryThreads threads(2, 1);
    std::promise<void> open;
    Consumer hangs(threads);
    hangs.receiver->gate = open.get_future().share();
    Consumer healthy(threads);
    threads.serveConsumers(2);
    hangs.subscription->enqueue(test::event(1));
    for (int i = 1; i <= 100; ++i)
        healthy.subscription->enqueue(test::event(i));
    EXPECT_TRUE(waitUntil([&] { return healthy.receiver->last == 100; }));
    EXPECT_EQ(hangs.receiver->last, 0);
    open.set_value();
    EXPECT_TRUE(waitUntil([&] { return hangs.receiver->last == 1; }));
}

// Each hung consumer hangs from its first event on, before it can be recognised as silent.
TEST(DeliveryThreads, ServesTheOtherOwnersWhileAllConsumersOfOneHang) {
    DeliveryThreads threads(4, 1);
    threads.serveConsumers(20);
    std::promise<void> open;
    const std::shared_future<void> gate = open.get_future().share();
    std::vector<Consumer> hanging;
    for (int i = 0; i < 20; ++i) {
        hanging.emplace_back(threads);
        hanging.back().subscription->owner = "hangs";
        hanging.back().receiver->gate = gate;
        hanging.back().subscription->enqueue(test::event(1));
    }
    Consumer healthy(threads);
    healthy.subscription->owner = "answers";
    for (int i = 1; i <= 100; ++i)
        healthy.subscription->enqueue(test::event(i));
    EXPECT_TRUE(waitUntil([&] { return healthy.receiver->last == 100; }));
    open.set_value();
    for (Consumer& each : hanging)
        EXPECT_TRUE(waitUntil([&] { return each.receiver->last == 1; }));
}

TEST(DeliveryThreads, LeavesHealthyConsumersTheirThreadsHoweverManyHang) {
    DeliverySettings settings;
    settings.firstBackOff = 1ms;
    DeliveryThreads threads(2, 1);
    threads.serveConsumers(9);
    std::promise<void> open;
    const std::shared_future<void> gate = open.get_future().share();
    std::vector<Consumer> silent;
    for (int i = 0; i < 8; ++i) {
        silent.emplace_back(threads, settings);
        silent.back().receiver->failsOnce = true;
        silent.back().receiver->probeGate = gate;
    }
    for (Consumer& each : silent)
        each.subscription->enqueue(test::event(1));
    for (Consumer& each : silent)
        EXPECT_TRUE(waitUntil([&] { return each.subscription->counts().failures == 1; }));
    // their probes hang from here on
    Consumer healthy(threads);
    for (int i = 1; i <= 100; ++i)
        healthy.subscription->enqueue(test::event(i));
    EXPECT_TRUE(waitUntil([&] { return healthy.receiver->last == 100; }));
    open.set_value();
    for (Consumer& each : silent)
        EXPECT_TRUE(waitUntil([&] { return each.subscription->counts().delivered == 1; }));
}

// Both threads sleep until the first due time. The thread that wakes second finds nothing left.
TEST(DeliveryThreads, ServesWhatComesDueWhileTwoThreadsWaitForIt) {
    for (int round = 0; round < 20; ++round) {
        DeliveryThreads threads(2, 2);
        threads.serveConsumers(2);
        std::vector<Consumer> slow;
        std::vector<Consumer> paced;
        const auto due = Subscription::Clock::now() + 5ms;
        for (int i = 0; i < 2; ++i) {
            slow.emplace_back(threads);
            paced.emplace_back(threads);
            threads.later(slow.back().subscription, due + i * 1ms, true);
            threads.later(paced.back().subscription, due + i * 1ms, false);
        }
        EXPECT_TRUE(waitUntil([&] {
            return slow.back().subscription.use_count() == 1 &&
                   paced.back().subscription.use_count() == 1;
        }));
    }
}

TEST(DeliveryThreads, ServesAtOnceWhatIsNoLongerToWait) {
    DeliveryThreads threads(1, 1);
    threads.serveConsumers(1);
    const auto due = Subscription::Clock::now() + 1h;
    std::vector<Consumer> consumers;
    for (int i = 0; i < 3; ++i) {
        consumers.emplace_back(threads);
        threads.later(consumers.back().subscription, due, false);
    }
    threads.sooner(*consumers[1].subscription, due);
    EXPECT_TRUE(waitUntil([&] { return consumers[1].subscription.use_count() == 1; }));
    threads.sooner(*consumers[1].subscription, due);
    EXPECT_EQ(consumers[0].subscription.use_count(), 2);
    EXPECT_EQ(consumers[2].subscription.use_count(), 2);
}

TEST(DeliveryThreads, SendsAnEventAgainAfterAFailure) {
    DeliverySettings settings;
    settings.firstBackOff = 1ms;
    DeliveryThreads threads(2, 1);
    Consumer consumer(threads, settings);
    consumer.receiver->failsOnce = true;
    threads.serveConsumers(1);
    for (int i = 1; i <= 10; ++i)
        consumer.subscription->enqueue(test::event(i));
    EXPECT_TRUE(waitUntil([&] { return consumer.receiver->last == 10; }));
    EXPECT_TRUE(consumer.receiver->inOrder);
    EXPECT_EQ(consumer.subscription->counts().delivered, 10u);
    EXPECT_EQ(consumer.subscription->counts().lost, 0u);
}

TEST(DeliveryThreads, StopForgetsWhatIsScheduled) {
    DeliveryThreads threads(2, 1);
    Consumer consumer(threads);
    consumer.subscription->enqueue(test::event(1));
    threads.stop();
    threads.serveConsumers(3);
    EXPECT_EQ(threads.threads(), 0u);
    consumer.subscription->enqueue(test::event(2));
    EXPECT_EQ(consumer.receiver->last, 0);
}

}  // namespace
}  // namespace kelp::notification
