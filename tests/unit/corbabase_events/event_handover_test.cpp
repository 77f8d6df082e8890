// The path of events from their sources to a channel that answers, refuses, hangs or is absent.

#include "events/event_handover.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <numeric>

#include "numbered_events.h"
#include "support/wait_until.h"

namespace NS_CORBA::test {
namespace {

using kelp::test::waitUntil;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Outcome = EventChannelLink::Outcome;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

std::vector<int> upTo(int last, int first = 1) {
    std::vector<int> numbers(static_cast<std::size_t>(last - first + 1));
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
}

/// A channel that the test controls. Any thread may call it.
class ScriptedLink final : public EventChannelLink {
  public:
    bool isConnected() const override { return connected; }
    std::size_t batchMax() const override { return batch; }
    Outcome handOver(const std::vector<StructuredEventPtr>& events) override {
        std::unique_lock lock(mutex_);
        ++begun_;
        changed_.wait(lock, [this] { return !held_; });
        std::vector<int> numbers;
        bool refused = false;
        for (const StructuredEventPtr& each : events) {
            numbers.push_back(numberOf(*each));
            refused = refused || numbers.back() == refuses;
        }
        attempts_.push_back(numbers);
        if (unanswered_ > 0) {
            --unanswered_;
            return Outcome::Unanswered;
        }
        if (refused)
            return Outcome::Refused;
        delivered_.insert(delivered_.end(), numbers.begin(), numbers.end());
        return Outcome::Accepted;
    }
    bool probe() override {
        const std::lock_guard guard(mutex_);
        probes_.push_back(steady_clock::now());
        attempts_.emplace_back();
        return reachable_;
    }
    void tend() override { ++tended; }
    void cancel() override { hold(false); }
    void close() override {}
    bool isDrained() const override { return true; }
    std::vector<kelp::notification::ConsumerCounts> consumers() const override { return {}; }

    void hold(bool held) {
        const std::lock_guard guard(mutex_);
        held_ = held;
        changed_.notify_all();
    }
    void setReachable(bool reachable) {
        const std::lock_guard guard(mutex_);
        reachable_ = reachable;
    }
    /// Wait until this number of deliveries has begun.
    bool begins(int deliveries) const {
        return waitUntil([&] {
            const std::lock_guard guard(mutex_);
            return begun_ >= deliveries;
        });
    }
    /// Leave this number of deliveries without an answer.
    void leaveUnanswered(int deliveries) {
        const std::lock_guard guard(mutex_);
        unanswered_ = deliveries;
    }
    std::vector<int> delivered() const {
        const std::lock_guard guard(mutex_);
        return delivered_;
    }
    /// Return all attempts. An empty list is a probe.
    std::vector<std::vector<int>> attempts() const {
        const std::lock_guard guard(mutex_);
        return attempts_;
    }
    std::vector<steady_clock::time_point> probes() const {
        const std::lock_guard guard(mutex_);
        return probes_;
    }

    std::atomic<int> tended{0};
    bool connected = true;
    std::size_t batch = 1;
    int refuses = 0;

  private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    bool held_ = false;
    int begun_ = 0;
    bool reachable_ = true;
    int unanswered_ = 0;
    std::vector<int> delivered_;
    std::vector<std::vector<int>> attempts_;
    std::vector<steady_clock::time_point> probes_;
};

class Handover : public testing::Test {
  protected:
    Handover() {
        settings_.eventsMax = 10;
        settings_.firstBackOff = milliseconds(20);
        settings_.longestBackOff = milliseconds(80);
    }
    ~Handover() override { handover_.reset(); }
    EventHandover& handover() {
        if (!handover_) {
            EventHandover::Work work;
            work.lost = [this](const CosNotification::StructuredEvent& first) {
                const std::lock_guard guard(mutex_);
                lost_.push_back(numberOf(first));
            };
            work.heartbeat = [this] { ++heartbeats_; };
            handover_ = std::make_unique<EventHandover>(settings_, link_, work);
        }
        return *handover_;
    }
    void enqueue(int first, int last) { ASSERT_TRUE(handover().enqueue(numbered(first, last))); }
    bool delivers(std::size_t count) {
        return waitUntil([&] { return link_->delivered().size() >= count; });
    }
    std::vector<int> lost() {
        const std::lock_guard guard(mutex_);
        return lost_;
    }

    const std::shared_ptr<ScriptedLink> link_ = std::make_shared<ScriptedLink>();
    EventHandover::Settings settings_;
    std::atomic<int> heartbeats_{0};

  private:
    std::mutex mutex_;
    std::vector<int> lost_;
    std::unique_ptr<EventHandover> handover_;
};

TEST_F(Handover, DeliversInOrderAndInBatchesOfTheChannelsSize) {
    link_->batch = 3;
    link_->hold(true);
    enqueue(1, 1);
    enqueue(2, 8);
    link_->hold(false);
    ASSERT_TRUE(delivers(8));
    EXPECT_EQ(link_->delivered(), upTo(8));
    for (const std::vector<int>& each : link_->attempts())
        EXPECT_LE(each.size(), 3u);
}

TEST_F(Handover, RefusesEventsOnceItIsStopping) {
    enqueue(1, 1);
    ASSERT_TRUE(delivers(1));
    handover().stop();
    EXPECT_FALSE(handover().enqueue(numbered(2, 2)));
    EXPECT_THAT(link_->delivered(), ElementsAre(1));
}

TEST_F(Handover, ConnectsBeforeItDeliversToAChannelElsewhere) {
    link_->connected = false;
    EXPECT_TRUE(handover().enqueue(numbered(1, 1)));
    ASSERT_TRUE(delivers(1));
    EXPECT_THAT(link_->attempts(), ElementsAre(IsEmpty(), ElementsAre(1)));
    EXPECT_TRUE(handover().channelAnswers());
}

TEST_F(Handover, KeepsEventsWhileTheChannelIsAwayUpToItsLimit) {
    link_->connected = false;
    link_->setReachable(false);
    enqueue(1, 12);
    EXPECT_FALSE(handover().channelAnswers());
    EXPECT_FALSE(handover().isDrained());
    EXPECT_THAT(lost(), ElementsAre(1)) << "told once of both, the first one named";
    enqueue(13, 13);
    EXPECT_THAT(lost(), ElementsAre(1, 3));
    link_->setReachable(true);
    ASSERT_TRUE(delivers(10));
    EXPECT_EQ(link_->delivered(), upTo(13, 4));
    EXPECT_TRUE(waitUntil([&] { return handover().isDrained(); }));
}

TEST_F(Handover, ProbesAnAwayChannelWithGrowingPauses) {
    link_->connected = false;
    link_->setReachable(false);
    handover();
    ASSERT_TRUE(waitUntil([&] { return link_->probes().size() >= 6; }));
    const std::vector<steady_clock::time_point> probes = link_->probes();
    for (const auto& [probe, pause] : {std::pair(1, 20), {2, 40}, {3, 80}, {4, 80}, {5, 80}})
        EXPECT_GE(
            probes[static_cast<std::size_t>(probe)] - probes[static_cast<std::size_t>(probe) - 1],
            milliseconds(pause))
            << probe;
}

TEST_F(Handover, ResendsAnUnansweredEventOnceAProbeWasAnswered) {
    link_->leaveUnanswered(1);
    enqueue(1, 1);
    ASSERT_TRUE(delivers(1));
    EXPECT_THAT(link_->attempts(), ElementsAre(ElementsAre(1), IsEmpty(), ElementsAre(1)));
    EXPECT_THAT(lost(), IsEmpty());
}

TEST_F(Handover, PausesLongerWhenProbesAreAnsweredAndEventsAreNot) {
    link_->leaveUnanswered(4);
    const steady_clock::time_point start = steady_clock::now();
    enqueue(1, 1);
    ASSERT_TRUE(delivers(1));
    EXPECT_GE(steady_clock::now() - start, milliseconds(20 + 40 + 80 + 80));
    EXPECT_THAT(link_->probes(), SizeIs(4));
}

TEST_F(Handover, AnEventInDeliveryIsNotDiscarded) {
    settings_.eventsMax = 2;
    link_->hold(true);
    enqueue(1, 1);
    ASSERT_TRUE(link_->begins(1));
    enqueue(2, 4);
    link_->hold(false);
    ASSERT_TRUE(delivers(2));
    EXPECT_THAT(link_->delivered(), ElementsAre(1, 4));
    EXPECT_THAT(lost(), ElementsAre(2));
}

TEST_F(Handover, RefusedEventIsLostAndTheOthersOfItsBatchAreNot) {
    link_->batch = 4;
    link_->refuses = 3;
    link_->connected = false;
    link_->setReachable(false);
    enqueue(1, 6);
    link_->setReachable(true);
    ASSERT_TRUE(delivers(5));
    EXPECT_THAT(link_->delivered(), ElementsAre(1, 2, 4, 5, 6));
    EXPECT_TRUE(waitUntil([&] { return !lost().empty(); }));
    EXPECT_THAT(lost(), ElementsAre(3));
    EXPECT_TRUE(handover().channelAnswers()) << "a refusal is an answer";
}

TEST_F(Handover, HeartbeatsGoOnWhileTheChannelIsAway) {
    settings_.heartbeatInterval = std::chrono::seconds(1);
    link_->connected = false;
    link_->setReachable(false);
    handover().requestHeartbeat();
    EXPECT_TRUE(waitUntil([&] { return heartbeats_ >= 2; }));
}

TEST_F(Handover, TendsTheChannelAtItsInterval) {
    settings_.tendInterval = milliseconds(20);
    const steady_clock::time_point start = steady_clock::now();
    handover();
    ASSERT_TRUE(waitUntil([&] { return link_->tended >= 5; }));
    EXPECT_GE(steady_clock::now() - start, milliseconds(5 * 20));
}

TEST_F(Handover, TendsTheChannelAlsoWhileEventsNeverEndAndWhileItIsAway) {
    settings_.tendInterval = milliseconds(5);
    std::atomic<bool> ended{false};
    auto taking = std::async(std::launch::async, [&] {
        while (!ended)
            handover().enqueue(numbered(1, 5));
    });
    EXPECT_TRUE(waitUntil([&] { return link_->tended >= 5; }));
    ended = true;
    taking.get();
    link_->setReachable(false);
    link_->leaveUnanswered(1);
    enqueue(1, 1);
    ASSERT_TRUE(waitUntil([&] { return !handover().channelAnswers(); }));
    const int before = link_->tended;
    EXPECT_TRUE(waitUntil([&] { return link_->tended >= before + 5; }));
}

TEST_F(Handover, DoesNotTendAChannelWithoutAnInterval) {
    enqueue(1, 3);
    handover().requestHeartbeat();
    ASSERT_TRUE(delivers(3));
    ASSERT_TRUE(waitUntil([&] { return heartbeats_ == 1; }));
    EXPECT_EQ(link_->tended, 0);
}

TEST_F(Handover, RequestedProbeDetectsThatAnIdleChannelHasGone) {
    EXPECT_TRUE(handover().channelAnswers());
    link_->setReachable(false);
    handover().requestProbe();
    EXPECT_TRUE(waitUntil([&] { return !handover().channelAnswers(); }));
    link_->setReachable(true);
    EXPECT_TRUE(waitUntil([&] { return handover().channelAnswers(); })) << "without being asked";
}

TEST_F(Handover, StopEndsADeliveryThatIsHeldAndReportsTheWaitingEvents) {
    link_->hold(true);
    enqueue(1, 5);
    ASSERT_TRUE(link_->begins(1));
    EXPECT_EQ(handover().stop(), 4u);
    EXPECT_THAT(link_->delivered(), ElementsAre(1));
    EXPECT_EQ(handover().stop(), 0u);
}

TEST_F(Handover, AcceptingDoesNotWaitForAChannelThatHangs) {
    link_->hold(true);
    enqueue(1, 1);
    ASSERT_TRUE(link_->begins(1));
    auto queued =
        std::async(std::launch::async, [&] { return handover().enqueue(numbered(2, 100)); });
    EXPECT_EQ(queued.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_THAT(lost(), SizeIs(1));
    link_->hold(false);
}

}  // namespace
}  // namespace NS_CORBA::test
