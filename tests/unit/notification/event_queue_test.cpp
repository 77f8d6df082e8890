#include "event_queue.h"

#include <gtest/gtest.h>

#include "numbered_events.h"

namespace kelp::notification {
namespace {

using test::event;
using test::numberOf;

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
    queue.setDiscard(Discard::Newest);
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
    queue.beginDelivery(1);
    EXPECT_EQ(numberOf(queue.expire(now - std::chrono::seconds(5))), 2);
    EXPECT_EQ(queue.size(), 2u) << "one is being delivered, one is young";
    EXPECT_EQ(queue.lost(), 2u);
    EXPECT_EQ(queue.expire(now - std::chrono::seconds(5)), nullptr);
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
