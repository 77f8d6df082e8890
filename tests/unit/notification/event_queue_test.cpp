#include "delivery/event_queue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "numbered_events.h"

namespace kelp::notification {
namespace {

using namespace std::chrono_literals;
using test::event;
using test::numberOf;
using testing::ElementsAre;

void expectAddsUp(const EventQueue& queue) {
    EXPECT_EQ(queue.sent(), queue.delivered() + queue.lost() + queue.size());
}

TEST(EventQueue, KeepsTheOrder) {
    EventQueue queue(10);
    for (int i = 1; i <= 3; ++i)
        EXPECT_EQ(queue.add(event(i)), nullptr);
    const auto first = queue.beginDelivery(2);
    ASSERT_EQ(first.size(), 2u);
    EXPECT_EQ(numberOf(first[0]), 1);
    EXPECT_EQ(numberOf(first[1]), 2);
    expectAddsUp(queue);
    queue.settle(true);
    EXPECT_EQ(queue.delivered(), 2u);
    EXPECT_EQ(numberOf(queue.front()), 3);
    expectAddsUp(queue);
}

TEST(EventQueue, DiscardsTheOldestThatIsNotBeingDelivered) {
    EventQueue queue(3);
    for (int i = 1; i <= 3; ++i)
        queue.add(event(i));
    queue.beginDelivery(1);
    EXPECT_EQ(numberOf(queue.add(event(4))), 2);
    EXPECT_EQ(queue.lost(), 1u);
    expectAddsUp(queue);
    queue.settle(true);
    EXPECT_EQ(numberOf(queue.front()), 3);
}

TEST(EventQueue, DiscardsTheNewestWhenToldTo) {
    EventQueue queue(2);
    queue.setRules({.discard = Discard::Newest});
    queue.add(event(1));
    queue.add(event(2));
    EXPECT_EQ(numberOf(queue.add(event(3))), 3);
    EXPECT_EQ(numberOf(queue.front()), 1);
    expectAddsUp(queue);
}

TEST(EventQueue, DiscardsTheNewOneWhenAllOthersAreBeingDelivered) {
    EventQueue queue(2);
    queue.add(event(1));
    queue.add(event(2));
    queue.beginDelivery(2);
    EXPECT_EQ(numberOf(queue.add(event(3))), 3);
    queue.settle(true);
    EXPECT_TRUE(queue.empty());
    expectAddsUp(queue);
}

TEST(EventQueue, PutsBackWhatWasNotDelivered) {
    EventQueue queue(5);
    queue.add(event(1));
    queue.add(event(2));
    queue.beginDelivery(2);
    EXPECT_EQ(queue.waiting(), 0u);
    queue.putBack();
    EXPECT_EQ(queue.waiting(), 2u);
    EXPECT_EQ(numberOf(queue.beginDelivery(1).front()), 1);
    expectAddsUp(queue);
}

TEST(EventQueue, CountsARefusedBatchAsLost) {
    EventQueue queue(5);
    queue.add(event(1));
    queue.add(event(2));
    queue.beginDelivery(1);
    queue.settle(false);
    EXPECT_EQ(queue.lost(), 1u);
    EXPECT_EQ(queue.size(), 1u);
    expectAddsUp(queue);
}

TEST(EventQueue, ExpiresTheOldOnesThatWait) {
    const auto now = std::chrono::steady_clock::now();
    EventQueue queue(5);
    queue.add(event(1, now - std::chrono::seconds(9)));
    queue.add(event(2, now - std::chrono::seconds(8)));
    queue.add(event(3, now - std::chrono::seconds(7)));
    queue.add(event(4, now));
    queue.setRules({.timeout = std::chrono::seconds(5)});
    queue.beginDelivery(1);
    queue.expire(now);
    EXPECT_EQ(queue.size(), 2u) << "one is being delivered, one is young";
    EXPECT_EQ(queue.lost(), 2u);
    EXPECT_EQ(queue.lostByChoice(), 2u);
    queue.expire(now);
    EXPECT_EQ(queue.lost(), 2u);
    expectAddsUp(queue);
}

TEST(EventQueue, ClearsAllButThoseBeingDelivered) {
    EventQueue queue(5);
    queue.add(event(1));
    queue.add(event(2));
    queue.beginDelivery(1);
    EXPECT_EQ(numberOf(queue.clear()), 2);
    EXPECT_EQ(queue.size(), 1u);
    queue.settle(true);
    EXPECT_EQ(queue.clear(), nullptr);
    expectAddsUp(queue);
}

EventPtr with(int number, EventQos qos, std::chrono::milliseconds age = {}) {
    return std::make_shared<const Event>(kelp::orb::EncodedEvent(test::sharedBody(number)),
                                         std::chrono::steady_clock::now() - age, qos);
}

std::vector<int> numbersOf(EventQueue& queue) {
    std::vector<int> numbers;
    for (const EventPtr& each : queue.beginDelivery(queue.size()))
        numbers.push_back(numberOf(each));
    queue.putBack();
    return numbers;
}

TEST(EventQueue, ExpiresAnEventByItsOwnTimeoutWhateverTheConsumersIs) {
    const auto now = std::chrono::steady_clock::now();
    EventQueue queue(10);
    queue.setRules({.timeout = 10s});
    queue.add(with(1, {.timeout = 5s}, 6s));
    queue.add(with(2, {.timeout = 30s}, 20s));
    queue.add(with(3, {}, 20s));
    queue.add(with(4, {.timeout = 0s}, 20s));
    queue.add(with(5, {}));
    queue.expire(now);
    EXPECT_THAT(numbersOf(queue), ElementsAre(2, 4, 5));
    EXPECT_EQ(queue.lostByChoice(), 2u);
    queue.setRules({.timeout = 1ms});
    queue.expire(now + 1s);
    EXPECT_THAT(numbersOf(queue), ElementsAre(2, 4))
        << "a shorter time-out is for those that wait too";
    expectAddsUp(queue);
}

TEST(EventQueue, ExpiresAnEventAtItsStopOrByATimeoutThatIsEarlier) {
    const auto now = std::chrono::steady_clock::now();
    EventQueue queue(10);
    queue.setRules({.timeout = 30s});
    queue.add(with(1, {.stop = now + 10s}));
    queue.add(with(2, {.stop = now + 50s}));
    queue.expire(now + 20s);
    EXPECT_THAT(numbersOf(queue), ElementsAre(2));
    queue.expire(now + 40s);
    EXPECT_TRUE(queue.empty());
    queue.setRules({.heedsStop = false});
    queue.add(with(3, {.stop = now + 10s}));
    queue.expire(now + 20s);
    EXPECT_THAT(numbersOf(queue), ElementsAre(3));
    expectAddsUp(queue);
}

TEST(EventQueue, OrdersByPriorityAndArrival) {
    EventQueue queue(10);
    queue.setRules({.order = Order::Priority, .priority = 1});
    queue.add(with(1, {.priority = 0}));
    queue.add(with(2, {}));
    queue.add(with(3, {.priority = 9}));
    queue.beginDelivery(1);
    queue.add(with(4, {.priority = 10}));
    queue.add(with(5, {}));
    EXPECT_EQ(numberOf(queue.front()), 3) << "it is being delivered";
    queue.putBack();
    EXPECT_THAT(numbersOf(queue), ElementsAre(3, 4, 2, 5, 1));
    queue.setRules({});
    EXPECT_THAT(numbersOf(queue), ElementsAre(1, 2, 3, 4, 5)) << "in the order of arrival again";
    expectAddsUp(queue);
}

TEST(EventQueue, OrdersByDeadline) {
    EventQueue queue(10);
    queue.add(with(1, {}));
    queue.add(with(2, {.timeout = 20s}));
    queue.setRules({.order = Order::Deadline});
    queue.add(with(3, {.timeout = 10s}));
    EXPECT_THAT(numbersOf(queue), ElementsAre(3, 2, 1));
}

TEST(EventQueue, DiscardsByPriorityOrDeadline) {
    EventQueue queue(3);
    queue.setRules({.discard = Discard::LowestPriority});
    queue.add(with(1, {.priority = 5}));
    queue.add(with(2, {.priority = 0}));
    queue.add(with(3, {.priority = 0}));
    EXPECT_EQ(numberOf(queue.add(with(4, {.priority = 5}))), 2) << "the oldest of several";
    EXPECT_EQ(numberOf(queue.add(with(5, {.priority = -1}))), 5) << "the new one is the least";
    queue.setRules({.discard = Discard::SoonestDeadline});
    EXPECT_EQ(numberOf(queue.add(with(6, {.timeout = 1s}))), 6);
    expectAddsUp(queue);
}

TEST(EventQueue, DiscardsOldestAndNewestByArrivalWhateverTheOrder) {
    EventQueue queue(3);
    queue.setRules({.order = Order::Priority});
    queue.add(with(1, {.priority = 9}));
    queue.add(with(2, {.priority = 1}));
    queue.add(with(3, {.priority = 5}));
    EXPECT_EQ(numberOf(queue.add(with(4, {.priority = 3}))), 1);
    queue.setRules({.order = Order::Priority, .discard = Discard::Newest});
    EXPECT_EQ(numberOf(queue.add(with(5, {.priority = 9}))), 5);
    EXPECT_THAT(numbersOf(queue), ElementsAre(3, 4, 2));
}

TEST(EventQueue, CountsEventsLostByTheConsumersOwnLimit) {
    EventQueue queue(2);
    queue.setLimit(1, true);
    queue.add(event(1));
    queue.add(event(2));
    EXPECT_EQ(queue.lostByChoice(), 1u);
    queue.setLimit(2);
    queue.add(event(3));
    queue.add(event(4));
    EXPECT_EQ(queue.lost(), 2u);
    EXPECT_EQ(queue.lostByChoice(), 1u) << "the configured limit is nobody's choice";
    queue.countLost();
    EXPECT_EQ(queue.lost(), 3u);
    expectAddsUp(queue);
}

TEST(EventQueue, KnowsWhenTheOldestArrivedWhateverTheOrder) {
    EventQueue queue(5);
    queue.setRules({.order = Order::Priority});
    const EventPtr oldest = with(1, {.priority = 1}, 5s);
    queue.add(oldest);
    queue.add(with(2, {.priority = 2}));
    EXPECT_EQ(queue.oldestAccepted(), oldest->accepted);
}

TEST(EventQueue, KeepsASmallerLimitFromTheNextEventOn) {
    EventQueue queue(5);
    for (int i = 1; i <= 5; ++i)
        queue.add(event(i));
    queue.setLimit(3);
    EXPECT_EQ(numberOf(queue.add(event(6))), 1);
    EXPECT_EQ(queue.size(), 3u);
    EXPECT_EQ(queue.lost(), 3u);
    expectAddsUp(queue);
}

}  // namespace
}  // namespace kelp::notification
