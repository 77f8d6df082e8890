// The round's check of one session, call by call.

#include "adapter/sessionsource.h"

#include "support/agent_fixture.h"
#include "support/tcp_peers.h"
#include "support/trace_capture.h"

#include <kelp/orb/poas.h>

#include <gtest/gtest.h>

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

/// A logged-in NMS whose rounds the test runs itself.
class Validity : public testing::Test {
  protected:
    void start(const AgentOptions& options = {}) {
        agent = std::make_unique<RunningAgent>(options);
        reference = agent->logIn(agent->nms());
        session = agent->listed(agent->nms());
        source = session->source();
    }
    void TearDown() override {
        reference = emsSession::EmsSession_I::_nil();
        session.reset();
        agent.reset();
    }
    int check(bool silentMode = false, bool cleared = true) {
        return source->check_valid(cleared, "20240105030405.0", "77", silentMode);
    }
    void failPings(int times, bool silentMode = false) {
        agent->nms()->answer = NmsServant::Answer::Refuse;
        for (int i = 0; i < times; ++i)
            EXPECT_EQ(check(silentMode), 0);
    }
    bool isTornDown() const {
        const PortableServer::POA_var poa = source->get_POA();
        return kelp::orb::isDying(poa.in());
    }

    std::unique_ptr<RunningAgent> agent;
    emsSession::EmsSession_I_var reference;
    ServantRef<EmsSession_IImpl> session;
    SessionSource* source = nullptr;
};

TEST_F(Validity, PingThatSucceedsClearsTheFailures) {
    start();
    failPings(2);
    EXPECT_EQ(source->get_ping_failures(), 2);
    EXPECT_FALSE(source->get_ping_answered());
    agent->nms()->answer = NmsServant::Answer::Normally;
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(source->get_ping_failures(), 0);
    EXPECT_TRUE(source->get_ping_answered());
}

TEST_F(Validity, CheckAfterTheFourthFailureTearsDown) {
    start();
    TraceCapture trace;
    failPings(4);
    EXPECT_EQ(source->get_state(), Normal);
    EXPECT_EQ(agent->nms()->pings, 4);
    EXPECT_EQ(check(), -1);
    EXPECT_EQ(source->get_state(), Invalid);
    EXPECT_EQ(agent->nms()->pings, 4);
    EXPECT_TRUE(isTornDown());
    EXPECT_EQ(agent->liveLogins(agent->nms()), 0u);
    EXPECT_TRUE(
        trace.contains("[SessionSource::check_valid] Exception raised during PING operation,user<admin>,ip<" +
                       agent->nms().hostInfo() + ">.==>NO_RESOURCES"));
    EXPECT_TRUE(
        trace.contains("[SessionSource::check_valid]Detect nmsSession failed or ems wants exit, now EMS will "
                       "destroy associated "
                       "emsSession resource,user<admin>,ip<" +
                       agent->nms().hostInfo() + ">."));
}

TEST_F(Validity, SilentModeWaitsAndStillPings) {
    start();
    failPings(4, true);
    EXPECT_EQ(check(true), 0);
    EXPECT_EQ(source->get_state(), SilentWaiting);
    EXPECT_EQ(agent->nms()->pings, 5);
    agent->nms()->answer = NmsServant::Answer::Normally;
    EXPECT_EQ(check(true), 0);
    EXPECT_EQ(source->get_ping_failures(), 0);
    // leaving the state is the ping thread's business
    EXPECT_EQ(source->get_state(), SilentWaiting);
    EXPECT_FALSE(isTornDown());
}

TEST_F(Validity, SilentModeTurnsEvenInvalidIntoWaiting) {
    start();
    failPings(4, true);
    source->set_state(Invalid);
    EXPECT_EQ(check(true), 0);
    EXPECT_EQ(source->get_state(), SilentWaiting);
}

TEST_F(Validity, SilentModeLeavesAnEndedSessionEnded) {
    start();
    failPings(4, true);
    source->set_state(Ended);
    EXPECT_EQ(check(true), -1);
    EXPECT_EQ(source->get_state(), Ended);
}

TEST_F(Validity, ExitingSessionIsToldAndTornDown) {
    start();
    source->set_state(EmsExiting);
    EXPECT_EQ(check(), -1);
    EXPECT_TRUE(waitUntil([&] { return agent->nms()->ends == 1; }));
    EXPECT_EQ(agent->nms()->pings, 0);
    EXPECT_TRUE(isTornDown());
}

TEST_F(Validity, EndedSessionIsTornDownUntold) {
    start();
    source->set_state(Ended);
    EXPECT_EQ(check(), -1);
    EXPECT_EQ(agent->nms()->ends, 0);
    EXPECT_EQ(agent->nms()->pings, 0);
    EXPECT_EQ(agent->liveLogins(agent->nms()), 0u);
}

TEST_F(Validity, SecondTearDownTracesAndLogsOutNobody) {
    start();
    TraceCapture trace;
    source->set_state(Ended);
    EXPECT_EQ(check(), -1);
    ASSERT_TRUE(kelp::orb::waitUntilGone(source->get_session_name(), std::chrono::seconds(10)));
    // the same user logs in from the same address again; the old source must not log that one out
    ASSERT_EQ(NS_CORBA::CorbaSecurityMgr::Instance()->Login(agent->nms().hostInfo(), "admin", "secret"), 0u);
    EXPECT_EQ(check(), -1);
    EXPECT_EQ(agent->liveLogins(agent->nms()), 1u);
    EXPECT_EQ(trace.count("[SessionSource::check_valid]Detect nmsSession failed or ems wants exit"), 2u);
    EXPECT_TRUE(trace.contains(
        "[SessionSource::check_valid]Exception raised during destroy session resource,user<admin>"));
    NS_CORBA::CorbaSecurityMgr::Instance()->Logout(agent->nms().hostInfo(), "admin");
}

TEST_F(Validity, SourceWithoutAPoaIsOverWithoutATrace) {
    start();
    TraceCapture trace;
    const std::unique_ptr<SessionSource> bare(
        SessionSource::create("h:1", "admin", agent->nms().reference()));
    bare->set_state(Ended);
    EXPECT_EQ(bare->check_valid(true, "", "", false), -1);
    EXPECT_FALSE(trace.contains("[SessionSource::check_valid]Detect"));
}

TEST_F(Validity, EventLossIsRelayedOnceAndCountsAsAPing) {
    start();
    failPings(3);
    agent->nms()->answer = NmsServant::Answer::Normally;
    EXPECT_EQ(check(false, false), 0);
    EXPECT_EQ(agent->nms()->texts(), std::vector<std::string>{"occurred 20240105030405.0 77"});
    EXPECT_EQ(source->get_ping_failures(), 0);
    EXPECT_FALSE(source->get_event_loss_cleared());
    EXPECT_EQ(check(false, false), 0);
    EXPECT_EQ(agent->nms()->losses, 1);
    EXPECT_EQ(agent->nms()->pings, 4);
    EXPECT_EQ(check(false, true), 0);
    EXPECT_EQ(agent->nms()->clears, 1);
    EXPECT_TRUE(source->get_event_loss_cleared());
}

TEST_F(Validity, EventLossThatFailsIsTriedAgainAndCountsAsAFailedPing) {
    start();
    TraceCapture trace;
    agent->nms()->answer = NmsServant::Answer::Refuse;
    EXPECT_EQ(check(false, false), 0);
    EXPECT_EQ(source->get_ping_failures(), 1);
    EXPECT_FALSE(source->get_ping_answered());
    EXPECT_TRUE(source->get_event_loss_cleared());
    EXPECT_TRUE(
        trace.contains("[SessionSource::eventLossOccurred_i] Exception raised during eventLossOccurred!"));
    agent->nms()->answer = NmsServant::Answer::Normally;
    EXPECT_EQ(check(false, false), 0);
    EXPECT_EQ(agent->nms()->losses, 2);
    agent->nms()->answer = NmsServant::Answer::Refuse;
    EXPECT_EQ(check(false, true), 0);
    EXPECT_TRUE(
        trace.contains("[SessionSource::eventLossCleared_i] Exception raised during eventLossCleared!"));
    EXPECT_FALSE(source->get_event_loss_cleared());
}

TEST_F(Validity, WithoutPingModeAChangeIsRecordedAndNobodyCalled) {
    start(AgentOptions().with(0, false));
    EXPECT_EQ(check(false, false), 0);
    EXPECT_FALSE(source->get_event_loss_cleared());
    EXPECT_EQ(check(false, false), 0);
    EXPECT_EQ(check(false, true), 0);
    EXPECT_TRUE(source->get_event_loss_cleared());
    EXPECT_EQ(agent->nms()->pings, 0);
    EXPECT_EQ(agent->nms()->losses, 0);
    EXPECT_EQ(agent->nms()->clears, 0);
}

TEST_F(Validity, EventLossIsNotRelayedToASilentlyWaitingSession) {
    start();
    source->set_state(SilentWaiting);
    EXPECT_EQ(check(true, false), 0);
    EXPECT_EQ(agent->nms()->losses, 0);
    EXPECT_EQ(agent->nms()->pings, 0);
    EXPECT_TRUE(source->get_event_loss_cleared());
}

TEST_F(Validity, NmsThatCannotBeToldItsEndIsTornDownAllTheSame) {
    start();
    TraceCapture trace;
    const std::uint16_t closed = freePort();
    const CORBA::Object_var dead = agent->orb()->string_to_object(
        ("corbaloc:iiop:1.2@127.0.0.1:" + std::to_string(closed) + "/nobody").c_str());
    const nmsSession::NmsSession_I_var nobody = nmsSession::NmsSession_I::_unchecked_narrow(dead.in());
    source->set_nms_session(nobody.in());
    source->set_state(EmsExiting);
    EXPECT_EQ(check(), -1);
    EXPECT_TRUE(
        trace.contains("[SessionSource::check_valid]Exception raised during endSession,user<admin>,ip<"));
    EXPECT_TRUE(isTornDown());
}

}  // namespace
