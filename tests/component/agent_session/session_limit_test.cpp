// Release strategy 1: above the session limit the oldest session is marked as ended.

#include <gtest/gtest.h>
#include <kelp/bundlemgr/config_store.h>

#include "adapter/session_source.h"
#include "support/agent_fixture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

class SessionLimit : public testing::Test {
  protected:
    static std::vector<std::int32_t> statesAfterLogIns(RunningAgent& agent, unsigned count) {
        for (unsigned i = 1; i <= count; ++i)
            agent.logIn(agent.nms(i));
        std::vector<std::int32_t> states;
        for (const auto& session : agent.sessions().PinSessions())
            states.push_back(session->source()->get_state());
        return states;
    }
};

using States = std::vector<std::int32_t>;

TEST_F(SessionLimit, OfTwoMarksTheOldestOfThree) {
    RunningAgent agent(AgentOptions{.releaseStrategy = 1, .pingMode = false, .maxSessions = 2});
    EXPECT_EQ(statesAfterLogIns(agent, 3), (States{Ended, Normal, Normal}));
    EXPECT_EQ(agent.liveLogins(agent.nms(1)), 1u)
        << "it is the ping thread that ends the marked session";
}

TEST_F(SessionLimit, IsNotExceededBySessionsUpToTheLimit) {
    RunningAgent agent(AgentOptions{.releaseStrategy = 1, .pingMode = false, .maxSessions = 2});
    EXPECT_EQ(statesAfterLogIns(agent, 2), (States{Normal, Normal}));
}

TEST_F(SessionLimit, CountsSessionsThatAreMarkedAlready) {
    RunningAgent agent(AgentOptions{.releaseStrategy = 1, .pingMode = false, .maxSessions = 2});
    EXPECT_EQ(statesAfterLogIns(agent, 5), (States{Ended, Ended, Ended, Normal, Normal}));
}

TEST_F(SessionLimit, HoldsUnderStrategyOneWithoutPingsOnly) {
    struct Case {
        int strategy;
        bool pings;
    };
    for (const Case& each :
         {Case{0, false}, Case{0, true}, Case{1, true}, Case{2, false}, Case{2, true}}) {
        RunningAgent agent(AgentOptions{.releaseStrategy = each.strategy,
                                        .pingMode = each.pings,
                                        .silentTimeS = 1000,
                                        .maxSessions = 1});
        EXPECT_EQ(statesAfterLogIns(agent, 3), (States{Normal, Normal, Normal}))
            << "strategy " << each.strategy << (each.pings ? " with pings" : " without pings");
    }
}

TEST_F(SessionLimit, EndsTheMarkedSessionInTheNextRoundWithoutNotification) {
    RunningAgent agent(AgentOptions{
        .releaseStrategy = 1, .pingMode = false, .pingIntervalS = 1, .maxSessions = 1});
    const emsSession::EmsSession_I_var oldest = agent.logIn(agent.nms(1));
    const emsSession::EmsSession_I_var newest = agent.logIn(agent.nms(2));
    EXPECT_TRUE(waitUntil([&] { return agent.sessions().SessionCount() == 1; }));
    EXPECT_TRUE(waitUntil([&] { return isGone([&] { oldest->ping(); }); }));
    newest->ping();
    EXPECT_TRUE(waitUntil([&] { return agent.liveLogins(agent.nms(1)) == 0; }));
    EXPECT_EQ(agent.liveLogins(agent.nms(2)), 1u);
    EXPECT_EQ(agent.nms(1)->ends, 0);
    EXPECT_EQ(agent.nms(1)->pings, 0);
}

}  // namespace
