// The reuse rule: an NMS that logs in again gets its live session back.

#include <gtest/gtest.h>
#include <kelp/orb/poas.h>

#include "adapter/session_source.h"
#include "support/agent_fixture.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

/// Destroy the POA of the session's own object. The top POA stays.
void destroySessionPoa(const SessionSource& source) {
    const PortableServer::POA_var top = source.get_POA();
    const PortableServer::POA_var child = top->find_POA("session", false);
    child->destroy(true, true);
}

TEST(Reuse, GivesTheLiveSessionBack) {
    RunningAgent agent(AgentOptions().withReuse());
    const emsSession::EmsSession_I_var first = agent.logIn(agent.nms());
    const TraceCapture trace;
    const emsSession::EmsSession_I_var second = agent.logIn(agent.nms());
    EXPECT_TRUE(first->_is_equivalent(second.in()));
    EXPECT_FALSE(trace.contains("IP Adress and Port conflict"));
    second->ping();
    EXPECT_EQ(agent.sessions().SessionCount(), 1u);
    // the password was checked, but there is no second log-in
    EXPECT_EQ(agent.liveLogins(agent.nms()), 1u);
}

TEST(Reuse, ChecksThePasswordAndLeavesTheSessionAlone) {
    RunningAgent agent(AgentOptions().withReuse());
    const emsSession::EmsSession_I_var first = agent.logIn(agent.nms());
    const TraceCapture trace;
    EXPECT_EQ(refusalOf([&] { agent.logIn(agent.nms(), "admin", "guess"); }),
              NS_CORBA::kWrongPassword);
    EXPECT_TRUE(trace.contains("[EmsSessionFactory_IImpl::getEmsSession] NMS-<" +
                               agent.nms().hostInfo() + "> Login failed!"));
    first->ping();
    EXPECT_EQ(agent.listed(agent.nms())->source()->get_state(), Normal);
    EXPECT_EQ(agent.liveLogins(agent.nms()), 1u);
}

TEST(Reuse, TakesTheNewReferenceOfTheNmsAndRestartsItsLiveness) {
    RunningAgent agent(AgentOptions().withReuse());
    agent.logIn(agent.nms());
    const auto session = agent.listed(agent.nms());
    agent.nms()->answer = NmsServant::Answer::Refuse;
    session->source()->check_valid(true, "", "", false);
    ASSERT_EQ(session->source()->get_ping_failures(), 1);

    const TestNms restarted(agent.orb(), agent.root(), 1);
    ASSERT_EQ(restarted.hostInfo(), agent.nms().hostInfo());
    agent.logIn(restarted);
    EXPECT_EQ(session->source()->get_ping_failures(), 0);
    session->source()->check_valid(true, "", "", false);
    EXPECT_EQ(restarted->pings, 1);
    EXPECT_EQ(agent.nms()->pings, 1);
}

TEST(Reuse, IsForTheSameUserOnly) {
    RunningAgent agent(AgentOptions().withReuse());
    agent.addUser("second");
    const emsSession::EmsSession_I_var first = agent.logIn(agent.nms(), "admin");
    const emsSession::EmsSession_I_var second = agent.logIn(agent.nms(), "second");
    EXPECT_FALSE(first->_is_equivalent(second.in()));
    EXPECT_EQ(agent.sessions().SessionCount(), 2u);
}

class ReuseOfASessionThatIsOver : public testing::TestWithParam<SessionState> {};

TEST_P(ReuseOfASessionThatIsOver, GivesANewSession) {
    RunningAgent agent(AgentOptions().withReuse());
    const emsSession::EmsSession_I_var first = agent.logIn(agent.nms());
    const auto before = agent.listed(agent.nms());
    before->source()->set_state(GetParam());
    const emsSession::EmsSession_I_var second = agent.logIn(agent.nms());
    EXPECT_FALSE(first->_is_equivalent(second.in()));
    second->ping();
    EXPECT_NE(before.get(), agent.listed(agent.nms()).get());
    EXPECT_EQ(agent.sessions().SessionCount(), 1u);
    EXPECT_EQ(agent.liveLogins(agent.nms()), 1u);
}

INSTANTIATE_TEST_SUITE_P(States, ReuseOfASessionThatIsOver,
                         testing::Values(Ended, EmsExiting, Invalid));

TEST(Reuse, ReplacesASessionWhosePoaTreeDies) {
    RunningAgent agent(AgentOptions().withReuse());
    agent.logIn(agent.nms());
    const auto before = agent.listed(agent.nms());
    const PortableServer::POA_var top = before->source()->get_POA();
    top->destroy(true, true);
    const emsSession::EmsSession_I_var second = agent.logIn(agent.nms());
    second->ping();
    EXPECT_NE(before.get(), agent.listed(agent.nms()).get());
    EXPECT_EQ(agent.sessions().SessionCount(), 1u);
    EXPECT_EQ(agent.liveLogins(agent.nms()), 1u);
}

TEST(Reuse, EndsASessionWhoseObjectCannotBeReached) {
    RunningAgent agent(AgentOptions().withReuse());
    agent.logIn(agent.nms());
    const auto before = agent.listed(agent.nms());
    destroySessionPoa(*before->source());
    EXPECT_EQ(refusalOf([&] { agent.logIn(agent.nms()); }), 0x411800BAul);
    EXPECT_EQ(before->source()->get_state(), Ended);
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
    EXPECT_EQ(agent.liveLogins(agent.nms()), 0u);
    const emsSession::EmsSession_I_var again = agent.logIn(agent.nms());
    again->ping();
}

TEST(Reuse, ChecksThePasswordBeforeASessionThatIsOverIsReplaced) {
    RunningAgent agent(AgentOptions().withReuse());
    agent.logIn(agent.nms());
    agent.listed(agent.nms())->source()->set_state(Ended);
    EXPECT_EQ(refusalOf([&] { agent.logIn(agent.nms(), "admin", "guess"); }),
              NS_CORBA::kWrongPassword);
    EXPECT_EQ(agent.sessions().SessionCount(), 1u);
    EXPECT_EQ(agent.liveLogins(agent.nms()), 1u);
}

}  // namespace
