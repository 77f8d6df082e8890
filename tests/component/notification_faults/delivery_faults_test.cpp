// Deliveries with too little memory: every consumer is served completely, and the counts remain
// correct.

#include <cos/CosEventComm.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>

#include "delivery/subscription.h"
#include "failing_memory.h"
#include "unit/notification/numbered_events.h"

namespace kelp::notification {
namespace {

using kelp::test::FailingMemory;
using kelp::test::withEachAllocationFailing;
using testing::ElementsAre;

/// Takes a turn when the test says so. Like the real scheduler, it allocates memory for each turn.
class HandScheduler final : public Subscription::Scheduler {
  public:
    void ready(std::shared_ptr<Subscription> subscription) override {
        turns.push_back(subscription);
    }
    void later(std::shared_ptr<Subscription> subscription, Subscription::Clock::time_point,
               bool) override {
        turns.push_back(subscription);
    }
    void sooner(const Subscription&, Subscription::Clock::time_point) override {}
    std::shared_ptr<Subscription> next() {
        std::shared_ptr<Subscription> first = turns.front();
        turns.erase(turns.begin());
        return first;
    }
    void run() {
        while (!turns.empty())
            next()->serve();
    }

    std::vector<std::shared_ptr<Subscription>> turns;
};

class CountedSubscription final : public Subscription {
  public:
    using Subscription::Subscription;
    int losses = 0;
    std::vector<std::string> deaths;

  private:
    void eventsLost(const Event&) override { ++losses; }
    void consumerDied(const std::string& why) override { deaths.push_back(why); }
};

class Receiving final : public ConnectedConsumer {
  public:
    std::size_t batchMax() const override { return 2; }
    void deliver(const std::vector<EventPtr>& events) override {
        if (onDeliver)
            onDeliver();
        for (const EventPtr& each : events)
            got[count++ % got.size()] = test::numberOf(each->view());
    }
    void probe() override {}
    void disconnect() override {}

    std::function<void()> onDeliver;
    std::array<int, 16> got{};
    std::size_t count = 0;
};

class DeliveryFaults : public testing::Test {
  protected:
    std::shared_ptr<CountedSubscription> connected() {
        scheduler_.turns.clear();
        scheduler_.turns.shrink_to_fit();
        receiver_ = std::make_shared<Receiving>();
        auto made = std::make_shared<CountedSubscription>(scheduler_, DeliverySettings{}, 100);
        made->connect(receiver_);
        return made;
    }
    /// Take a turn in which the nth allocation fails. True if an allocation failed.
    bool takesTurnFailing(int nth) {
        const auto turn = scheduler_.next();
        const FailingMemory failing(nth);
        turn->serve();
        return failing.hasHappened();
    }
    void recover(CountedSubscription& subscription) {
        receiver_->onDeliver = nullptr;
        subscription.tend(Subscription::Clock::now());
        scheduler_.run();
        const ConsumerCounts counts = subscription.counts();
        EXPECT_EQ(counts.queued, 0u) << "it is served to the end";
        EXPECT_EQ(counts.sent, counts.delivered + counts.lost + counts.queued);
    }

    HandScheduler scheduler_;
    std::shared_ptr<Receiving> receiver_;
};

TEST_F(DeliveryFaults, OfAnOfferedEventLoseAtMostThatEventAndReportIt) {
    withEachAllocationFailing([this](int nth) {
        constexpr int kEvents = 60;  // more than fit into one block of a queue
        std::vector<EventPtr> events;
        for (int i = 1; i <= kEvents; ++i)
            events.push_back(test::event(i));
        const auto subscription = connected();
        bool failed = false;
        {
            const FailingMemory failing(nth);
            for (const EventPtr& each : events)
                subscription->enqueue(each);
            failed = failing.hasHappened();
        }
        recover(*subscription);
        const ConsumerCounts counts = subscription->counts();
        EXPECT_EQ(counts.sent, static_cast<std::uint64_t>(kEvents));
        EXPECT_LE(counts.lost, 1u);
        EXPECT_EQ(counts.lost, static_cast<std::uint64_t>(subscription->losses));
        return failed;
    });
}

TEST_F(DeliveryFaults, OfATurnLoseNothing) {
    withEachAllocationFailing([this](int nth) {
        const auto subscription = connected();
        for (int i = 1; i <= 3; ++i)
            subscription->enqueue(test::event(i));
        const bool failed = takesTurnFailing(nth);
        recover(*subscription);
        EXPECT_EQ(subscription->counts().delivered, 3u);
        EXPECT_EQ(receiver_->count, 3u);
        EXPECT_THAT(std::vector<int>(receiver_->got.begin(), receiver_->got.begin() + 3),
                    ElementsAre(1, 2, 3));
        EXPECT_EQ(subscription->losses, 0);
        return failed;
    });
}

TEST_F(DeliveryFaults, AfterATimeOutLoseNothing) {
    withEachAllocationFailing([this](int nth) {
        const auto subscription = connected();
        receiver_->onDeliver = [] { throw CORBA::TIMEOUT(0, CORBA::COMPLETED_MAYBE); };
        subscription->enqueue(test::event(1));
        const bool failed = takesTurnFailing(nth);
        recover(*subscription);
        EXPECT_EQ(receiver_->got[0], 1);
        EXPECT_EQ(subscription->losses, 0);
        EXPECT_TRUE(subscription->deaths.empty());
        return failed;
    });
}

TEST_F(DeliveryFaults, OfADyingConsumerAreMadeUpFor) {
    withEachAllocationFailing([this](int nth) {
        const auto subscription = connected();
        const auto gone = [] { throw CosEventComm::Disconnected(); };
        receiver_->onDeliver = gone;
        subscription->enqueue(test::event(1));
        const bool failed = takesTurnFailing(nth);
        subscription->tend(Subscription::Clock::now());
        scheduler_.run();
        subscription->tend(Subscription::Clock::now());
        EXPECT_EQ(subscription->deaths.size(), 1u);
        EXPECT_TRUE(subscription->isClosed());
        EXPECT_EQ(subscription->counts().queued, 0u);
        return failed;
    });
}

}  // namespace
}  // namespace kelp::notification
