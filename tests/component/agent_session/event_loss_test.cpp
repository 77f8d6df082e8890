// Event loss, which the ping rounds report to every NMS.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "adapter/session_source.h"
#include "support/agent_fixture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;
using testing::ElementsAre;

const AgentOptions kLossRounds = AgentOptions().withRoundsEvery(1);

TEST(EventLoss, IsReportedToEveryNmsOnce) {
    RunningAgent agent(kLossRounds);
    agent.logIn(agent.nms(1));
    agent.logIn(agent.nms(2));
    agent.sessions().NotifyEventLossOccurred("20260101120000Z", "4711");
    for (unsigned i = 1; i <= 2; ++i) {
        EXPECT_TRUE(waitUntil([&] { return agent.nms(i)->losses == 1; }));
        const int pings = agent.nms(i)->pings;
        EXPECT_TRUE(waitUntil([&] { return agent.nms(i)->pings > pings; }))
            << "then it is pinged again";
        EXPECT_THAT(agent.nms(i)->texts(), ElementsAre("occurred 20260101120000Z 4711"));
    }
}

TEST(EventLoss, IsReportedAgainWhenItIsOver) {
    RunningAgent agent(kLossRounds);
    agent.logIn(agent.nms());
    agent.sessions().NotifyEventLossOccurred("20260101120000Z", "4711");
    EXPECT_TRUE(waitUntil([&] { return agent.nms()->losses == 1; }));
    agent.sessions().NotifyEventLossCleared("20260101130000Z");
    EXPECT_TRUE(waitUntil([&] { return agent.nms()->clears == 1; }));
    agent.sessions().NotifyEventLossOccurred("20260101140000Z", "4712");
    EXPECT_TRUE(waitUntil([&] { return agent.nms()->losses == 2; }));
    EXPECT_THAT(agent.nms()->texts(),
                ElementsAre("occurred 20260101120000Z 4711", "cleared 20260101130000Z",
                            "occurred 20260101140000Z 4712"));
}

TEST(EventLoss, ThatIsOverBeforeARoundIsNotReported) {
    RunningAgent agent(kLossRounds);
    agent.logIn(agent.nms());
    EXPECT_TRUE(waitUntil([&] { return agent.nms()->pings == 1; }));
    agent.sessions().NotifyEventLossOccurred("20260101120000Z", "4711");
    agent.sessions().NotifyEventLossCleared("20260101130000Z");
    EXPECT_TRUE(waitUntil([&] { return agent.nms()->pings == 2; }));
    EXPECT_TRUE(agent.nms()->texts().empty());
}

TEST(EventLoss, IsReportedToAnNmsThatLogsInLater) {
    RunningAgent agent(kLossRounds);
    agent.sessions().NotifyEventLossOccurred("20260101120000Z", "4711");
    agent.logIn(agent.nms());
    EXPECT_TRUE(waitUntil([&] { return agent.nms()->losses == 1; }));
}

TEST(EventLoss, IsReportedUntilTheNmsAcceptsIt) {
    RunningAgent agent(kLossRounds);
    agent.nms()->answer = NmsServant::Answer::Refuse;
    agent.logIn(agent.nms());
    const auto session = agent.listed(agent.nms());
    agent.sessions().NotifyEventLossOccurred("20260101120000Z", "4711");
    EXPECT_TRUE(waitUntil([&] { return agent.nms()->losses == 2; }));
    EXPECT_TRUE(session->source()->get_event_loss_cleared());
    agent.nms()->answer = NmsServant::Answer::Normally;
    EXPECT_TRUE(waitUntil([&] { return !session->source()->get_event_loss_cleared(); }));
    EXPECT_EQ(agent.nms()->losses, 3);
    EXPECT_EQ(agent.nms()->pings, 0) << "a relay counts as the round's ping";
    EXPECT_EQ(session->source()->get_ping_failures(), 0);
}

TEST(EventLoss, ThatAnNmsNeverAcceptsEndsItsSession) {
    RunningAgent agent(kLossRounds);
    agent.nms()->answer = NmsServant::Answer::Refuse;
    agent.logIn(agent.nms());
    agent.sessions().NotifyEventLossOccurred("20260101120000Z", "4711");
    EXPECT_TRUE(waitUntil([&] { return agent.sessions().SessionCount() == 0; }));
    EXPECT_EQ(agent.nms()->losses, 4);
    EXPECT_EQ(agent.nms()->pings, 0);
}

TEST(EventLoss, IsRecordedButNotReportedWithoutPingMode) {
    RunningAgent agent(kLossRounds.with(0, false));
    agent.logIn(agent.nms());
    const auto session = agent.listed(agent.nms());
    agent.sessions().NotifyEventLossOccurred("20260101120000Z", "4711");
    EXPECT_TRUE(waitUntil([&] { return !session->source()->get_event_loss_cleared(); }));
    agent.sessions().NotifyEventLossCleared("20260101130000Z");
    EXPECT_TRUE(waitUntil([&] { return session->source()->get_event_loss_cleared(); }));
    EXPECT_TRUE(agent.nms()->texts().empty());
    EXPECT_EQ(agent.nms()->pings, 0);
}

TEST(EventLoss, IsNotReportedWhileItsSessionWaitsSilently) {
    RunningAgent agent(AgentOptions{
        .releaseStrategy = 2, .pingMode = true, .pingIntervalS = 1, .silentTimeS = 86400});
    agent.nms()->answer = NmsServant::Answer::Refuse;
    agent.logIn(agent.nms());
    const auto session = agent.listed(agent.nms());
    while (session->source()->get_ping_failures() < 4)
        session->source()->check_valid(true, "", "", true);
    ASSERT_TRUE(waitUntil([&] { return session->waitingThread() != 0; }));
    agent.sessions().NotifyEventLossOccurred("20260101120000Z", "4711");
    // a round that erases an ended session has also checked this one
    for (int round = 0; round < 2; ++round) {
        agent.logIn(agent.nms(2))->endSession();
        ASSERT_TRUE(waitUntil([&] { return agent.sessions().SessionCount() == 1; }));
    }
    const int pings = agent.nms()->pings;
    agent.nms()->answer = NmsServant::Answer::Normally;
    agent.logIn(agent.nms(2))->endSession();
    ASSERT_TRUE(waitUntil([&] { return agent.sessions().SessionCount() == 1; }));
    EXPECT_TRUE(agent.nms()->texts().empty());
    EXPECT_EQ(agent.nms()->pings, pings) << "neither told nor pinged";
    EXPECT_EQ(session->source()->get_state(), SilentWaiting);

    agent.sessions().NotifyEventLossCleared("20260101130000Z");
    EXPECT_TRUE(waitUntil([&] { return session->source()->get_state() == Normal; }))
        << "pinged again";
    EXPECT_TRUE(agent.nms()->texts().empty());
}

}  // namespace
