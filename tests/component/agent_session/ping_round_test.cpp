// The ping thread's rounds over all sessions, with release strategies without a silent period.

#include <gtest/gtest.h>

#include "adapter/session_source.h"
#include "support/agent_fixture.h"
#include "support/latch.h"
#include "support/tcp_peers.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

const AgentOptions kRounds = AgentOptions().withRoundsEvery(1);

TEST(PingRound, PingsEveryNms) {
    RunningAgent agent(kRounds);
    for (unsigned i = 1; i <= 3; ++i)
        agent.logIn(agent.nms(i));
    for (unsigned i = 1; i <= 3; ++i)
        EXPECT_TRUE(waitUntil([&] { return agent.nms(i)->pings >= 2; })) << i;
    EXPECT_EQ(agent.sessions().SessionCount(), 3u);
}

TEST(PingRound, AfterTheFourthFailedPingEndsTheSession) {
    RunningAgent agent(kRounds);
    agent.nms(1)->answer = NmsServant::Answer::Refuse;
    const emsSession::EmsSession_I_var lost = agent.logIn(agent.nms(1));
    const emsSession::EmsSession_I_var other = agent.logIn(agent.nms(2));
    const auto session = agent.listed(agent.nms(1));
    const TraceCapture trace;

    ASSERT_TRUE(waitUntil([&] { return agent.nms(1)->pings == 4; }));
    EXPECT_TRUE(waitUntil([&] { return session->source()->get_ping_failures() == 4; }));
    EXPECT_EQ(session->source()->get_state(), Normal) << "it is the next round that acts";
    EXPECT_EQ(agent.liveLogins(agent.nms(1)), 1u);

    ASSERT_TRUE(waitUntil([&] { return agent.sessions().SessionCount() == 1; }));
    EXPECT_EQ(session->source()->get_state(), Invalid);
    EXPECT_EQ(agent.nms(1)->pings, 4);
    EXPECT_EQ(agent.nms(1)->ends, 0) << "who does not answer is not told";
    EXPECT_EQ(agent.liveLogins(agent.nms(1)), 0u);
    const std::string who = ",user<admin>,ip<" + agent.nms(1).hostInfo() + ">.";
    EXPECT_EQ(trace.count("[SessionSource::check_valid] Exception raised during PING operation" +
                          who + "==>"),
              4u);
    EXPECT_EQ(
        trace.count(
            "[SessionSource::check_valid]Detect nmsSession failed or ems wants exit, now EMS will "
            "destroy associated emsSession resource" +
            who),
        1u);
    EXPECT_TRUE(waitUntil([&] { return isGone([&] { lost->ping(); }); }));
    other->ping();
}

TEST(PingRound, EndsTheSessionOfADeadAddressLikewise) {
    RunningAgent agent(kRounds);
    const std::string hostInfo = "127.0.0.1:" + std::to_string(freePort());
    const CORBA::Object_var object =
        kelp::orb::toReference(agent.orb(), "corbaloc:iiop:1.2@" + hostInfo + "/Nms");
    const nmsSession::NmsSession_I_var nms =
        nmsSession::NmsSession_I::_unchecked_narrow(object.in());
    agent.logIn(nms.in());
    EXPECT_EQ(agent.liveLogins(hostInfo), 1u);
    EXPECT_TRUE(waitUntil([&] { return agent.sessions().SessionCount() == 0; }));
    EXPECT_EQ(agent.liveLogins(hostInfo), 0u);
}

TEST(PingRound, ErasesASessionThatWasEnded) {
    RunningAgent agent(kRounds);
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    session->endSession();
    EXPECT_EQ(agent.sessions().SessionCount(), 1u);
    EXPECT_TRUE(waitUntil([&] { return agent.sessions().SessionCount() == 0; }));
    EXPECT_EQ(agent.nms()->ends, 0);
}

TEST(PingRound, MakesNoPingWithoutPingMode) {
    RunningAgent agent(kRounds.with(0, false));
    agent.logIn(agent.nms(1));
    const emsSession::EmsSession_I_var over = agent.logIn(agent.nms(2));
    over->endSession();
    // the round that erases the second session has also checked the first one
    EXPECT_TRUE(waitUntil([&] { return agent.sessions().SessionCount() == 1; }));
    EXPECT_EQ(agent.nms(1)->pings, 0);
}

TEST(PingRound, GivesUpACallAfterTheCallTimeOut) {
    Latch gate;
    RunningAgent agent(AgentOptions{.pingIntervalS = 1, .callTimeoutS = 1});
    agent.nms()->onPing = [&] { gate.pass(); };
    agent.logIn(agent.nms());
    const auto session = agent.listed(agent.nms());
    EXPECT_TRUE(gate.isReached());
    EXPECT_TRUE(waitUntil([&] { return session->source()->get_ping_failures() == 1; }));
    gate.open();
}

TEST(PingRound, DelaysNobodyWhileAnNmsHangs) {
    Latch gate;
    RunningAgent agent(AgentOptions{.pingIntervalS = 1, .callTimeoutS = 60});
    agent.nms(1)->onPing = [&] { gate.pass(); };
    const emsSession::EmsSession_I_var hung = agent.logIn(agent.nms(1));
    ASSERT_TRUE(gate.isReached());

    // none of these waits for the ping: the hung NMS's own calls, other NMS, log-ins and log-outs
    const common::Common_I_var manager = agent.remoteManager(hung.in());
    common::CapabilityList_T_var capabilities;
    manager->getCapabilities(capabilities.out());
    const emsSession::EmsSession_I_var other = agent.logIn(agent.nms(2));
    other->endSession();
    EXPECT_TRUE(agent.sessions().isAdminAlreadyLoginIn("admin"));
    EXPECT_EQ(agent.nms(1)->pings, 0) << "the ping has come back: the test shows nothing";
    gate.open();
}

TEST(PingRound, LeavesASessionThatIsReusedWhileItIsCheckedInTheList) {
    RunningAgent agent;
    agent.logIn(agent.nms());
    const auto session = agent.listed(agent.nms());
    session->source()->set_state(Ended);
    ASSERT_EQ(session->source()->check_valid(true, "", "", false), -1);
    // the state returns to Normal between the check and the erasure
    session->source()->set_nms_session(agent.nms().reference());
    EXPECT_EQ(agent.sessions().EraseSessions({session.get()}), 0);
    EXPECT_EQ(agent.sessions().SessionCount(), 1u);
}

}  // namespace
