// The stop: every NMS is notified, and the wait for each of them is bounded.

#include <gtest/gtest.h>

#include <chrono>

#include "adapter/session_source.h"
#include "support/agent_fixture.h"
#include "support/tcp_peers.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

nmsSession::NmsSession_I_var nmsAt(const RunningAgent& agent, const std::string& corbaloc) {
    const CORBA::Object_var object = kelp::orb::toReference(agent.orb(), corbaloc);
    return nmsSession::NmsSession_I_var(nmsSession::NmsSession_I::_unchecked_narrow(object.in()));
}

/// Log in several users of one NMS.
void logInUsers(RunningAgent& agent, nmsSession::NmsSession_I_ptr nms, int users) {
    for (int i = 0; i < users; ++i) {
        agent.addUser("user" + std::to_string(i));
        agent.logIn(nms, "user" + std::to_string(i));
    }
}

void loseNms(SessionSource& source, int failures) {
    while (source.get_ping_failures() < failures)
        source.check_valid(true, "", "", true);
}

class Exit : public testing::TestWithParam<AgentOptions> {};

TEST_P(Exit, NotifiesAndEndsEverySession) {
    RunningAgent agent(GetParam());
    std::vector<ServantRef<EmsSession_IImpl>> sessions;
    for (unsigned i = 1; i <= 3; ++i) {
        agent.logIn(agent.nms(i));
        sessions.push_back(agent.listed(agent.nms(i)));
    }
    const TraceCapture trace;
    agent.requestExit();
    agent.endSessions();
    EXPECT_EQ(trace.count("[SessionMgr::svc] EMS process will exit!"), 3u);
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
    for (unsigned i = 1; i <= 3; ++i) {
        EXPECT_EQ(sessions[i - 1]->source()->get_state(), EmsExiting);
        EXPECT_TRUE(waitUntil([&] { return agent.nms(i)->ends == 1; }));
        EXPECT_EQ(agent.liveLogins(agent.nms(i)), 0u);
    }
    EXPECT_TRUE(agent.waitingThreadsLeave());
}

INSTANTIATE_TEST_SUITE_P(
    Strategies, Exit,
    testing::Values(AgentOptions().with(0, true), AgentOptions().with(0, false),
                    AgentOptions().with(1, true), AgentOptions().with(1, false),
                    AgentOptions().with(2, true), AgentOptions().with(2, false)));

TEST(ExitThread, ReturnsWithoutAnySession) {
    RunningAgent agent;
    agent.requestExit();
    agent.endSessions();
}

TEST(ExitThread, EndsSessionsInEveryState) {
    RunningAgent agent;
    std::vector<ServantRef<EmsSession_IImpl>> sessions;
    const std::vector<SessionState> states = {Normal, Ended, EmsExiting, Invalid, SilentWaiting};
    for (unsigned i = 1; i <= states.size(); ++i) {
        agent.logIn(agent.nms(i));
        sessions.push_back(agent.listed(agent.nms(i)));
        sessions.back()->source()->set_state(states[i - 1]);
    }
    agent.requestExit();
    agent.endSessions();
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
    for (unsigned i = 1; i <= states.size(); ++i) {
        SCOPED_TRACE(states[i - 1]);
        EXPECT_EQ(agent.liveLogins(agent.nms(i)), 0u);
        // Invalid is final: such an NMS is not notified
        const bool told = states[i - 1] != Invalid;
        EXPECT_EQ(sessions[i - 1]->source()->get_state(), told ? EmsExiting : Invalid);
        if (told) {
            EXPECT_TRUE(waitUntil([&] { return agent.nms(i)->ends == 1; }));
        } else {
            EXPECT_EQ(agent.nms(i)->ends, 0);
        }
    }
}

TEST(ExitThread, DoesNotLogOutAnEndedSessionTwice) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    session->endSession();
    // simulate a log-in of the same NMS at the last moment
    NS_CORBA::CorbaSecurityMgr::Instance()->Login(agent.nms().hostInfo(), "admin", "secret");
    agent.requestExit();
    agent.endSessions();
    EXPECT_EQ(agent.liveLogins(agent.nms()), 1u);
}

TEST(ExitThread, CutsThePingThreadsSleepShort) {
    RunningAgent agent(AgentOptions().withRoundsEvery(86400));
    agent.logIn(agent.nms());
    const auto begin = Clock::now();
    agent.requestExit();
    agent.endSessions();
    EXPECT_LT(Clock::now() - begin, 60s);
}

TEST(ExitThread, DoesNotWaitSilentlyForADeadNms) {
    // after six failed pings the session is in silent mode, in which the agent normally waits for
    // the NMS
    RunningAgent agent(AgentOptions{
        .releaseStrategy = 2, .pingMode = true, .pingIntervalS = 86400, .silentTimeS = 86400});
    agent.nms()->answer = NmsServant::Answer::Refuse;
    agent.logIn(agent.nms());
    const auto session = agent.listed(agent.nms());
    loseNms(*session->source(), 6);
    ASSERT_EQ(session->source()->get_state(), SilentWaiting);
    const int pings = agent.nms()->pings;
    agent.requestExit();
    agent.endSessions();
    EXPECT_EQ(session->source()->get_state(), Invalid);
    EXPECT_EQ(agent.nms()->pings, pings) << "it is given up at once, in the first round";
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
    EXPECT_EQ(agent.liveLogins(agent.nms()), 0u);
    EXPECT_TRUE(agent.waitingThreadsLeave());
}

TEST(ExitThread, EndsASessionThatWaitsSilentlyInAThread) {
    RunningAgent agent(AgentOptions{
        .releaseStrategy = 2, .pingMode = true, .pingIntervalS = 1, .silentTimeS = 86400});
    agent.nms()->answer = NmsServant::Answer::Refuse;
    agent.logIn(agent.nms());
    const auto session = agent.listed(agent.nms());
    loseNms(*session->source(), 4);
    ASSERT_TRUE(waitUntil([&] { return session->waitingThread() != 0; }));
    agent.requestExit();
    agent.endSessions();
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
    EXPECT_TRUE(agent.waitingThreadsLeave());
}

TEST(ExitThread, GivesAnNmsThatCannotBeReachedOneSecond) {
    const FullBacklogListener unreachable;
    RunningAgent agent(AgentOptions{.callTimeoutS = 86400});
    const nmsSession::NmsSession_I_var nms = nmsAt(agent, unreachable.corbaloc());
    agent.logIn(nms.in());
    agent.logIn(agent.nms());
    const TraceCapture trace;
    const auto begin = Clock::now();
    agent.requestExit();
    agent.endSessions();
    EXPECT_LT(Clock::now() - begin, 30s) << "the call time-out of a day held";
    EXPECT_TRUE(trace.contains(
        "[SessionSource::check_valid]Exception raised during endSession,user<admin>,ip<" +
        unreachable.hostAndPort() + ">.==>TIMEOUT"));
    EXPECT_TRUE(waitUntil([&] { return agent.nms()->ends == 1; }))
        << "the next one is informed as well";
    EXPECT_EQ(agent.liveLogins(unreachable.hostAndPort()), 0u);
}

TEST(ExitThread, NotifiesManyUnreachableNmsConcurrently) {
    const FullBacklogListener unreachable;
    RunningAgent agent;
    const nmsSession::NmsSession_I_var nms = nmsAt(agent, unreachable.corbaloc());
    logInUsers(agent, nms.in(), 30);
    agent.logIn(agent.nms());
    const TraceCapture trace;
    agent.requestExit();
    agent.endSessions();
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
    EXPECT_EQ(trace.count("[SessionSource::check_valid]Exception raised during endSession"), 30u);
    EXPECT_TRUE(waitUntil([&] { return agent.nms()->ends == 1; }))
        << "the last one gets the call too";
}

TEST(ExitThread, EndsTheRestWithoutNotificationWhenTheTimeIsUsedUp) {
    const FullBacklogListener unreachable;
    // one NMS at a time, so that the time does not suffice for all
    RunningAgent agent(AgentOptions().withSession("ping_threads = 1\n"));
    const nmsSession::NmsSession_I_var nms = nmsAt(agent, unreachable.corbaloc());
    logInUsers(agent, nms.in(), 18);
    agent.logIn(agent.nms());
    const TraceCapture trace;
    agent.requestExit();
    agent.endSessions();
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
    // 15 s for all of them, at most 1 s for each
    const std::size_t tried =
        trace.count("[SessionSource::check_valid]Exception raised during endSession");
    EXPECT_GE(tried, 14u);
    EXPECT_LE(tried, 16u);
    EXPECT_EQ(agent.nms()->ends, 0) << "the last one's turn came too late";
    EXPECT_EQ(agent.liveLogins(agent.nms()), 0u);
}

}  // namespace
