// The record of one logged-in NMS.

#include <gtest/gtest.h>

#include "source_fixture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

using SessionRecord = SourceFixture;

TEST(SessionName, IsUserAndAddressBetweenTheirTags) {
    EXPECT_EQ(sessionNameText("admin", "10.0.0.1:5000"),
              "<USERNAME_TAG>admin</USERNAME_TAG><IPANDPORT_TAG>10.0.0.1:5000</IPANDPORT_TAG>");
    EXPECT_EQ(sessionNameText("", ""),
              "<USERNAME_TAG></USERNAME_TAG><IPANDPORT_TAG></IPANDPORT_TAG>");
}

TEST(SessionName, EscapesNothing) {
    EXPECT_EQ(sessionNameText("a</USERNAME_TAG>b", "<IPANDPORT_TAG>:1"),
              "<USERNAME_TAG>a</USERNAME_TAG>b</USERNAME_TAG><IPANDPORT_TAG><IPANDPORT_TAG>:1</"
              "IPANDPORT_TAG>");
}

TEST_F(SessionRecord, BeginsNormalAndAnswered) {
    const Source source = make();
    EXPECT_EQ(source->get_ip_and_port(), agent_.nms().hostInfo());
    EXPECT_EQ(source->get_user_name(), "admin");
    const PortableServer::POA_var poa = source->get_POA();
    EXPECT_TRUE(CORBA::is_nil(poa.in()));
    EXPECT_EQ(source->get_ping_failures(), 0);
    EXPECT_EQ(source->get_state(), Normal);
    EXPECT_TRUE(source->get_event_loss_cleared());
    EXPECT_TRUE(source->get_ping_answered());
    EXPECT_FALSE(source->get_silent_waiting());
}

TEST_F(SessionRecord, KeepsItsOwnReference) {
    Source source;
    {
        const CORBA::Object_var object =
            kelp::orb::toReference(agent_.orb(), "corbaloc:iiop:1.2@10.0.0.1:5000/Nms");
        const nmsSession::NmsSession_I_var nms =
            nmsSession::NmsSession_I::_unchecked_narrow(object.in());
        source.reset(SessionSource::create("10.0.0.1:5000", "admin", nms.in()));
    }
    const nmsSession::NmsSession_I_var one = source->get_nms_session();
    const nmsSession::NmsSession_I_var other = source->get_nms_session();
    EXPECT_TRUE(one->_is_equivalent(other.in()));
}

TEST_F(SessionRecord, KeepsTheStateInvalidForGood) {
    const Source source = make();
    for (const SessionState state : {Ended, EmsExiting, SilentWaiting, Normal, Invalid}) {
        source->set_state(state);
        EXPECT_EQ(source->get_state(), state);
    }
    for (const SessionState state : {Normal, Ended, EmsExiting, SilentWaiting}) {
        source->set_state(state);
        EXPECT_EQ(source->get_state(), Invalid);
    }
}

TEST_F(SessionRecord, ChangesAStateOnlyFromTheOneExpected) {
    const Source source = make();
    EXPECT_FALSE(source->change_state(SilentWaiting, Ended));
    EXPECT_EQ(source->get_state(), Normal);
    EXPECT_TRUE(source->change_state(Normal, Ended));
    EXPECT_EQ(source->get_state(), Ended);
    EXPECT_FALSE(source->change_state(Normal, Ended));
}

TEST_F(SessionRecord, StartsOverWithANewReference) {
    const Source source = make();
    agent_.nms()->answer = NmsServant::Answer::Refuse;
    source->check_valid(true, "", "", false);
    ASSERT_EQ(source->get_ping_failures(), 1);
    source->set_state(Invalid);
    source->set_nms_session(agent_.nms(2).reference());
    EXPECT_EQ(source->get_state(), Normal);
    EXPECT_EQ(source->get_ping_failures(), 0);
    const nmsSession::NmsSession_I_var now = source->get_nms_session();
    EXPECT_TRUE(now->_is_equivalent(agent_.nms(2).reference()));
}

TEST_F(SessionRecord, IsReusedOnlyWhileItIsNormalOrWaitsSilently) {
    for (const SessionState state : {Ended, EmsExiting, Invalid}) {
        const Source source = make();
        source->set_state(state);
        bool waited = false;
        EXPECT_FALSE(source->reuse(agent_.nms(2).reference(), waited));
        EXPECT_EQ(source->get_state(), state);
        const nmsSession::NmsSession_I_var now = source->get_nms_session();
        EXPECT_TRUE(now->_is_equivalent(agent_.nms(1).reference()));
    }
    for (const SessionState state : {Normal, SilentWaiting}) {
        const Source source = make();
        source->set_state(state);
        bool waited = false;
        EXPECT_TRUE(source->reuse(agent_.nms(2).reference(), waited));
        EXPECT_EQ(source->get_state(), Normal);
        EXPECT_EQ(waited, state == SilentWaiting);
        const nmsSession::NmsSession_I_var now = source->get_nms_session();
        EXPECT_TRUE(now->_is_equivalent(agent_.nms(2).reference()));
    }
}

TEST_F(SessionRecord, KeepsTheFlagOfANewWaitWhenAnOldWaitLeavesLate) {
    const Source source = make();
    source->set_state(SilentWaiting);
    source->set_silent_waiting();
    const std::uint32_t slow = source->silent_waiting_number();
    EXPECT_TRUE(source->is_waiting_silently(slow));
    source->clear_silent_waiting();
    source->set_silent_waiting();
    const std::uint32_t successor = source->silent_waiting_number();
    EXPECT_FALSE(source->is_waiting_silently(slow));
    source->leave_silent_waiting(slow);
    EXPECT_TRUE(source->get_silent_waiting());
    EXPECT_TRUE(source->is_waiting_silently(successor));
    source->leave_silent_waiting(successor);
    EXPECT_FALSE(source->get_silent_waiting());
    source->set_state(Normal);
    EXPECT_FALSE(source->is_waiting_silently(successor));
}

TEST_F(SessionRecord, LogsOutOnce) {
    auto& security = *NS_CORBA::CorbaSecurityMgr::Instance();
    const Source source = make();
    ASSERT_EQ(security.Login(agent_.nms().hostInfo(), "admin", "secret"), 0ul);
    ASSERT_EQ(security.Login(agent_.nms().hostInfo(), "admin", "secret"), 0ul);
    source->logOutOnce();
    source->logOutOnce();
    EXPECT_EQ(agent_.liveLogins(agent_.nms()), 1u);
}

}  // namespace
