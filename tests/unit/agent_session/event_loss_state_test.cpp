#include "session/event_loss_state.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using namespace NS_KELPCORBA;

TEST(EventLossState, BeginsWithoutALoss) {
    const EventLoss loss = EventLossState().current();
    EXPECT_TRUE(loss.isCleared);
    EXPECT_EQ(loss.time, "");
    EXPECT_EQ(loss.notificationId, "");
}

TEST(EventLossState, KeepsTheLastLoss) {
    EventLossState state;
    state.setOccurred("start", "1");
    state.setOccurred("later", "2");
    const EventLoss loss = state.current();
    EXPECT_FALSE(loss.isCleared);
    EXPECT_EQ(loss.time, "later");
    EXPECT_EQ(loss.notificationId, "2");
}

TEST(EventLossState, KeepsTheNotificationOfALossThatIsCleared) {
    EventLossState state;
    state.setOccurred("start", "1");
    state.setCleared("end");
    const EventLoss loss = state.current();
    EXPECT_TRUE(loss.isCleared);
    EXPECT_EQ(loss.time, "end");
    EXPECT_EQ(loss.notificationId, "1");
}

TEST(EventLossState, ReturnsTheValuesOfOneReport) {
    EventLossState state;
    state.setOccurred("a", "a");
    {
        std::jthread reporting([&] {
            for (int i = 0; i < 1000; ++i) {
                const std::string text(static_cast<std::size_t>(i % 2 + 1) * 40, 'x');
                state.setOccurred(text, text);
            }
        });
        for (int i = 0; i < 1000; ++i) {
            const EventLoss loss = state.current();
            ASSERT_EQ(loss.time, loss.notificationId);
        }
    }
    EXPECT_EQ(state.current().time.size(), 80u);
}

}  // namespace
