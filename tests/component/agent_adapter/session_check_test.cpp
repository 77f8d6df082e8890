// How a ping round checks one session.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/orb/poas.h>

#include "source_fixture.h"
#include "support/tcp_peers.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

class SessionCheck : public SourceFixture {
  protected:
    explicit SessionCheck(AgentOptions options = {}) : SourceFixture(options) {
        source_ = makeWithTree();
        NS_CORBA::CorbaSecurityMgr::Instance()->Login(agent_.nms().hostInfo(), "admin", "secret");
    }
    ~SessionCheck() override {
        source_.reset();
        agent_.stop();
    }
    int check(bool silentMode = false, bool eventLossCleared = true) {
        return source_->check_valid(eventLossCleared, "20260101120000Z", "4711", silentMode);
    }
    void refuse() { agent_.nms()->answer = NmsServant::Answer::Refuse; }
    void answer() { agent_.nms()->answer = NmsServant::Answer::Normally; }
    bool isTornDown() {
        const std::string name = sessionNameText("admin", agent_.nms().hostInfo());
        return agent_.liveLogins(agent_.nms()) == 0 && isGoneFromRoot(name) &&
               waitUntil([&] { return !kelp::orb::isNameDying(name); });
    }
    bool isUntouched() {
        const PortableServer::POA_var top = source_->get_POA();
        return agent_.liveLogins(agent_.nms()) == 1 && !kelp::orb::isDying(top.in());
    }
    std::string who() { return ",user<admin>,ip<" + agent_.nms().hostInfo() + ">."; }
    std::string tearDownText() {
        return "[SessionSource::check_valid]Detect nmsSession failed or ems wants exit, now EMS "
               "will destroy "
               "associated emsSession resource" +
               who();
    }

    Source source_;
};

// -- pings

TEST_F(SessionCheck, PingsAnNmsOfALiveSession) {
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(agent_.nms()->pings, 1);
    EXPECT_EQ(source_->get_ping_failures(), 0);
    EXPECT_TRUE(source_->get_ping_answered());
    EXPECT_TRUE(isUntouched());
}

TEST_F(SessionCheck, CountsFailedPingsInARow) {
    refuse();
    const TraceCapture trace;
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(source_->get_ping_failures(), 2);
    EXPECT_FALSE(source_->get_ping_answered());
    EXPECT_EQ(trace.count("[SessionSource::check_valid] Exception raised during PING operation" +
                          who() + "==>NO_RESOURCES"),
              2u);
    answer();
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(source_->get_ping_failures(), 0);
    EXPECT_TRUE(source_->get_ping_answered());
}

TEST_F(SessionCheck, EndsTheSessionInTheFifthCheck) {
    refuse();
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(check(), 0);
    EXPECT_EQ(source_->get_state(), Normal);
    EXPECT_TRUE(isUntouched());
    const TraceCapture trace;
    EXPECT_EQ(check(), -1);
    EXPECT_EQ(source_->get_state(), Invalid);
    EXPECT_EQ(agent_.nms()->pings, 4);
    EXPECT_EQ(agent_.nms()->ends, 0);
    EXPECT_TRUE(isTornDown());
    EXPECT_EQ(trace.count(tearDownText()), 1u);
}

TEST_F(SessionCheck, WaitsSilentlyFromTheFifthCheckOnAndGoesOnPinging) {
    refuse();
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(check(true), 0);
    EXPECT_EQ(source_->get_state(), Normal);
    EXPECT_EQ(check(true), 0);
    EXPECT_EQ(source_->get_state(), SilentWaiting);
    EXPECT_EQ(agent_.nms()->pings, 5) << "in the very same check";
    EXPECT_EQ(check(true), 0);
    EXPECT_EQ(agent_.nms()->pings, 6);
    EXPECT_EQ(source_->get_ping_failures(), 6);
    answer();
    EXPECT_EQ(check(true), 0);
    EXPECT_EQ(source_->get_ping_failures(), 0);
    EXPECT_TRUE(source_->get_ping_answered());
    EXPECT_EQ(source_->get_state(), SilentWaiting) << "it is the ping thread that ends the waiting";
    EXPECT_TRUE(isUntouched());
}

TEST_F(SessionCheck, WaitsSilentlyEvenOverAnExitOrAFinalState) {
    for (const SessionState before : {EmsExiting, Invalid}) {
        source_ = nullptr;
        source_ = make("user" + std::to_string(before));
        refuse();
        for (int i = 0; i < 4; ++i)
            check(true);
        source_->set_state(before);
        EXPECT_EQ(check(true), 0);
        EXPECT_EQ(source_->get_state(), SilentWaiting);
        EXPECT_EQ(agent_.nms()->ends, 0);
    }
}

TEST_F(SessionCheck, EndsAnEndedSessionInSilentModeToo) {
    refuse();
    for (int i = 0; i < 4; ++i)
        check(true);
    source_->set_state(Ended);
    EXPECT_EQ(check(true), -1);
    EXPECT_EQ(source_->get_state(), Ended);
    EXPECT_TRUE(isTornDown());
}

TEST_F(SessionCheck, GivesUpASilentSessionOnceSilentModeIsOver) {
    refuse();
    for (int i = 0; i < 5; ++i)
        check(true);
    ASSERT_EQ(source_->get_state(), SilentWaiting);
    EXPECT_EQ(check(false), -1);
    EXPECT_EQ(source_->get_state(), Invalid);
    EXPECT_TRUE(isTornDown());
}

TEST_F(SessionCheck, TakesANilReferenceForAFailedPing) {
    source_->set_nms_session(nmsSession::NmsSession_I::_nil());
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(source_->get_ping_failures(), 1);
    check(false, false);
    EXPECT_EQ(source_->get_ping_failures(), 2);
    source_->set_state(EmsExiting);
    EXPECT_EQ(check(), -1);
}

// -- ends

TEST_F(SessionCheck, EndsAnEndedSessionWithoutNotifyingTheNms) {
    source_->set_state(Ended);
    EXPECT_EQ(check(), -1);
    EXPECT_TRUE(isTornDown());
    EXPECT_EQ(agent_.nms()->ends, 0);
    EXPECT_EQ(agent_.nms()->pings, 0);
}

TEST_F(SessionCheck, EndsAnInvalidSessionWithoutNotifyingTheNms) {
    source_->set_state(Invalid);
    EXPECT_EQ(check(), -1);
    EXPECT_TRUE(isTornDown());
    EXPECT_EQ(agent_.nms()->ends, 0);
}

TEST_F(SessionCheck, NotifiesTheNmsAtTheExit) {
    source_->set_state(EmsExiting);
    EXPECT_EQ(check(), -1);
    EXPECT_TRUE(waitUntil([&] { return agent_.nms()->ends == 1; }));
    EXPECT_EQ(agent_.nms()->pings, 0);
    EXPECT_TRUE(isTornDown());
}

TEST_F(SessionCheck, EndsTheSessionWhenTheNmsCannotBeNotified) {
    const CORBA::Object_var object = kelp::orb::toReference(
        agent_.orb(), "corbaloc:iiop:1.2@127.0.0.1:" + std::to_string(freePort()) + "/Nms");
    const nmsSession::NmsSession_I_var dead =
        nmsSession::NmsSession_I::_unchecked_narrow(object.in());
    source_->set_nms_session(dead.in());
    source_->set_state(EmsExiting);
    const TraceCapture trace;
    EXPECT_EQ(check(), -1);
    EXPECT_TRUE(trace.contains("[SessionSource::check_valid]Exception raised during endSession" +
                               who() + "==>TRANSIENT"));
    EXPECT_TRUE(isTornDown());
}

TEST_F(SessionCheck, StaysOverAfterTheTearDown) {
    source_->set_state(Ended);
    EXPECT_EQ(check(), -1);
    // destroying a POA that is still being destroyed is silent, destroying a POA that no longer
    // exists throws
    ASSERT_TRUE(kelp::orb::waitUntilGone(source_->get_session_name(), std::chrono::seconds(10)));
    const TraceCapture trace;
    EXPECT_EQ(check(), -1);
    EXPECT_EQ(trace.count(tearDownText()), 1u);
    EXPECT_TRUE(trace.contains(
        "[SessionSource::check_valid]Exception raised during destroy session resource" + who() +
        "==>"));
}

TEST_F(SessionCheck, IsOverWithoutATree) {
    const Source bare = make("bare");
    bare->set_state(Ended);
    const TraceCapture trace;
    EXPECT_EQ(bare->check_valid(true, "", "", false), -1);
    EXPECT_FALSE(trace.contains("Detect nmsSession failed"));
}

TEST_F(SessionCheck, MayBeEndedByTheNmsDuringItsNotification) {
    agent_.nms()->onEnd = [this] {
        source_->set_state(Ended);
        TASessionSource::check_valid(source_.get());
    };
    source_->set_state(EmsExiting);
    NS_CORBA::CorbaSecurityMgr::Instance()->Login(agent_.nms().hostInfo(), "admin", "secret");
    EXPECT_EQ(check(), -1);
    EXPECT_TRUE(waitUntil([&] { return agent_.nms()->ends == 1; }));
    EXPECT_EQ(agent_.liveLogins(agent_.nms()), 1u) << "logged out once";
}

// -- event loss

TEST_F(SessionCheck, ReportsAnEventLossInsteadOfAPing) {
    EXPECT_EQ(check(false, false), 0);
    EXPECT_THAT(agent_.nms()->texts(), testing::ElementsAre("occurred 20260101120000Z 4711"));
    EXPECT_EQ(agent_.nms()->pings, 0);
    EXPECT_FALSE(source_->get_event_loss_cleared());
    EXPECT_EQ(check(false, false), 0);
    EXPECT_EQ(agent_.nms()->pings, 1) << "nothing new to tell";
    EXPECT_EQ(check(false, true), 0);
    EXPECT_THAT(agent_.nms()->texts(),
                testing::ElementsAre("occurred 20260101120000Z 4711", "cleared 20260101120000Z"));
    EXPECT_TRUE(source_->get_event_loss_cleared());
}

TEST_F(SessionCheck, CountsAReportAsAPing) {
    refuse();
    check();
    check();
    ASSERT_EQ(source_->get_ping_failures(), 2);
    answer();
    check(false, false);
    EXPECT_EQ(source_->get_ping_failures(), 0);
    EXPECT_TRUE(source_->get_ping_answered());
    refuse();
    check();
    answer();
    check(false, true);
    EXPECT_EQ(source_->get_ping_failures(), 0);
    EXPECT_TRUE(source_->get_ping_answered());
}

TEST_F(SessionCheck, CountsARefusedReportAsAFailedPingAndRetries) {
    refuse();
    const TraceCapture trace;
    for (int i = 1; i <= 3; ++i) {
        EXPECT_EQ(check(false, false), 0);
        EXPECT_EQ(source_->get_ping_failures(), i);
        EXPECT_TRUE(source_->get_event_loss_cleared()) << "not told yet";
    }
    EXPECT_FALSE(source_->get_ping_answered());
    EXPECT_EQ(
        trace.count(
            "[SessionSource::eventLossOccurred_i] Exception raised during eventLossOccurred!"),
        3u);
    answer();
    check(false, false);
    EXPECT_FALSE(source_->get_event_loss_cleared());
    refuse();
    check(false, true);
    EXPECT_EQ(trace.count(
                  "[SessionSource::eventLossCleared_i] Exception raised during eventLossCleared!"),
              1u);
    EXPECT_FALSE(source_->get_event_loss_cleared());
    check(false, true);
    check(false, true);
    check(false, true);
    EXPECT_EQ(check(false, true), -1) << "four refusals, and the fifth check acts";
    EXPECT_TRUE(isTornDown());
}

TEST_F(SessionCheck, ReportsNothingWhileItWaitsSilently) {
    refuse();
    for (int i = 0; i < 5; ++i)
        check(true);
    ASSERT_EQ(source_->get_state(), SilentWaiting);
    answer();
    const int pings = agent_.nms()->pings;
    EXPECT_EQ(check(true, false), 0);
    EXPECT_EQ(agent_.nms()->pings, pings) << "nor is it pinged";
    EXPECT_TRUE(agent_.nms()->texts().empty());
    EXPECT_TRUE(source_->get_event_loss_cleared());
    EXPECT_EQ(source_->get_ping_failures(), 5);
    source_->eventLossCleared_i("x");
    EXPECT_TRUE(agent_.nms()->texts().empty());
}

// -- without pings

class SessionValidityWithoutPings : public SessionCheck {
  protected:
    SessionValidityWithoutPings() : SessionCheck(AgentOptions().with(0, false)) {}
};

TEST_F(SessionValidityWithoutPings, CallsNobody) {
    refuse();
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(check(), 0);
    EXPECT_EQ(agent_.nms()->pings, 0);
    EXPECT_EQ(source_->get_ping_failures(), 0);
    EXPECT_TRUE(isUntouched());
}

TEST_F(SessionValidityWithoutPings, RecordsAnEventLossOnly) {
    EXPECT_EQ(check(false, false), 0);
    EXPECT_FALSE(source_->get_event_loss_cleared());
    EXPECT_EQ(check(false, true), 0);
    EXPECT_TRUE(source_->get_event_loss_cleared());
    EXPECT_TRUE(agent_.nms()->texts().empty());
    EXPECT_EQ(agent_.nms()->pings, 0);
}

TEST_F(SessionValidityWithoutPings, StillNotifiesTheNmsAtTheExit) {
    source_->set_state(EmsExiting);
    EXPECT_EQ(check(), -1);
    EXPECT_TRUE(waitUntil([&] { return agent_.nms()->ends == 1; }));
    EXPECT_TRUE(isTornDown());
}

}  // namespace
