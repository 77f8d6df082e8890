#include <algorithm>
#include <future>
#include <thread>

#include "service_fixture.h"

namespace kelp::test {
namespace {

using namespace std::chrono_literals;

using HandOver = AlarmServiceTest;

TEST_F(HandOver, SendsEventsInTheOrderOfTheirPositions) {
    start();
    std::vector<std::thread> adapters;
    for (int adapter = 0; adapter < 8; ++adapter)
        adapters.emplace_back([&, adapter] {
            for (int i = 0; i < 50; ++i)
                submitOne(raise(adapter * 1000 + i));
        });
    for (std::thread& each : adapters)
        each.join();
    ASSERT_TRUE(waitUntil([&] { return sink_.count() >= 400; }));
    const auto positions = sink_.positions();
    EXPECT_EQ(positions.size(), 400u);
    EXPECT_TRUE(std::is_sorted(positions.begin(), positions.end(), std::less_equal<>()));
    EXPECT_EQ(active().size(), 400u);
}

TEST_F(HandOver, SendsNothingForWhatChangesNothing) {
    start();
    const auto raised = submitOne(raise(1));
    submitOne(raise(1));
    submitOne(clear(2));
    const auto cleared = submitOne(clear(1));
    ASSERT_TRUE(waitUntil([&] { return service().counts().handedOver == cleared.position; }));
    EXPECT_EQ(sink_.positions(),
              (std::vector<alarms::Position>{raised.position, cleared.position}));
}

TEST_F(HandOver, OffersTheSameEventsAgainUntilThereIsAChannel) {
    sink_.open(false);
    start();
    const auto first = submitOne(raise(1));
    const auto second = submitOne(raise(2));
    ASSERT_TRUE(waitUntil([&] { return sink_.calls() >= 2; }));
    EXPECT_EQ(service().counts().unsent, 2u);
    sink_.open(true);
    ASSERT_TRUE(waitUntil([&] { return sink_.count() == 2; }));
    EXPECT_EQ(sink_.positions(), (std::vector<alarms::Position>{first.position, second.position}));
}

TEST_F(HandOver, SendsAfterARestartWhatWasNotSent) {
    start();
    submitOne(raise(1));
    ASSERT_TRUE(waitUntil([&] { return sink_.count() == 1; }));
    sink_.open(false);
    const auto cleared = submitOne(clear(1));
    const auto raised = submitOne(raise(2));
    end();
    sink_.open(true);
    start();
    ASSERT_TRUE(waitUntil([&] { return sink_.count() == 3; }));
    const auto positions = sink_.positions();
    EXPECT_EQ(positions[1], cleared.position);
    EXPECT_EQ(positions[2], raised.position);
}

TEST_F(HandOver, SendsNothingAgainAfterAnOrderlyStop) {
    start();
    for (int i = 0; i < 20; ++i)
        submitOne(raise(i));
    end();
    EXPECT_EQ(sink_.count(), 20u);
    start();
    const auto next = submitOne(raise(100));
    ASSERT_TRUE(waitUntil([&] { return service().counts().handedOver == next.position; }));
    EXPECT_EQ(sink_.count(), 21u);
}

TEST_F(HandOver, WritesNothingWhileTooManyEventsWait) {
    sink_.open(false);
    settings_.unsentMax = 5;
    settings_.patience = 200ms;
    settings_.backlogMax = 1;
    start();
    std::vector<std::future<bool>> all;
    for (int i = 0; i < 20; ++i)
        all.push_back(std::async(std::launch::async, [&, i] {
            try {
                submitOne(raise(i));
                return true;
            } catch (const alarms::IntakeRefused&) {
                return false;
            }
        }));
    ASSERT_TRUE(waitUntil([&] { return service().counts().refused > 0; }));
    EXPECT_LE(service().counts().unsent, 7u);
    sink_.open(true);
    std::size_t accepted = 0;
    for (auto& each : all)
        accepted += each.get() ? 1 : 0;
    EXPECT_EQ(active().size(), accepted);
    ASSERT_TRUE(waitUntil([&] { return sink_.count() == accepted; }));
}

TEST_F(HandOver, RefusesWhatWaitsTooLongForTheChannel) {
    sink_.open(false);
    settings_.unsentMax = 0;
    settings_.patience = 100ms;
    start();
    submitOne(raise(1));
    // there is room in the backlog, but not for the event
    for (int i = 2; i <= 4; ++i) {
        try {
            submitOne(raise(i));
            ADD_FAILURE() << "it is accepted";
        } catch (const alarms::IntakeRefused& refused) {
            EXPECT_EQ(refused.why(), alarms::IntakeRefused::Why::Busy);
        }
    }
    EXPECT_EQ(active().size(), 1u);
    sink_.open(true);
    ASSERT_TRUE(waitUntil([&] { return service().counts().unsent == 0; }));
    EXPECT_EQ(submitOne(raise(2)).outcome, alarms::Outcome::Raised);
}

TEST_F(HandOver, CallsASinkThatWasReplacedNoMore) {
    start();
    submitOne(raise(1));
    ASSERT_TRUE(waitUntil([&] { return sink_.count() == 1; }));
    RecordingSink other;
    service().setSink(&other);
    submitOne(raise(2));
    ASSERT_TRUE(waitUntil([&] { return other.count() == 1; }));
    service().setSink(nullptr);
    const int calls = other.calls();
    submitOne(raise(3));
    EXPECT_EQ(service().counts().unsent, 1u);
    EXPECT_EQ(other.calls(), calls);
    EXPECT_EQ(sink_.count(), 1u);
}

TEST_F(HandOver, EndsAlthoughTheChannelIsAway) {
    sink_.open(false);
    settings_.unsentMax = 0;
    start();
    submitOne(raise(1));
    auto waiting = std::async(std::launch::async, [&] { return submitOne(raise(2)).hasEvent; });
    ASSERT_TRUE(waitUntil([&] { return service().counts().submitted == 2; }));
    service().stop();
    try {
        waiting.get();
    } catch (const alarms::IntakeRefused&) {
        // the stop may come before it enters the backlog
    }
    EXPECT_EQ(sink_.count(), 0u);
}

}  // namespace
}  // namespace kelp::test
