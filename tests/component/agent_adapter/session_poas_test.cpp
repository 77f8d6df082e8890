// A session's tree of object adapters: how it is made, named, reused and ended.

#include "adapter/sessionsource.h"

#include "adapter/toppoanames.h"
#include "support/agent_fixture.h"
#include "support/trace_capture.h"

#include <kelp/orb/poas.h>

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

constexpr const char* kHost = "127.0.0.1:7000";
constexpr const char* kName =
    "<USERNAME_TAG>admin</USERNAME_TAG><IPANDPORT_TAG>127.0.0.1:7000</IPANDPORT_TAG>";

std::unique_ptr<SessionSource> makeSource(RunningAgent& agent, const char* host = kHost,
                                          const char* user = "admin") {
    return std::unique_ptr<SessionSource>(SessionSource::create(host, user, agent.nms().reference()));
}

TEST(SessionPoas, TopPoaIsNamedByUserAndAddress) {
    RunningAgent agent;
    const auto source = makeSource(agent);
    EXPECT_TRUE(CORBA::is_nil(PortableServer::POA_var(source->get_POA()).in()));
    ASSERT_EQ(source->init(agent.root()), 0u);
    const PortableServer::POA_var top = source->get_POA();
    const CORBA::String_var name = top->the_name();
    EXPECT_STREQ(name.in(), kName);
    const PortableServer::POA_var iterators = top->find_POA("iterator", false);
    const PortableServer::POA_var session = top->find_POA("session", false);
    EXPECT_FALSE(CORBA::is_nil(iterators.in()));
    EXPECT_FALSE(CORBA::is_nil(session.in()));
    EXPECT_FALSE(CORBA::is_nil(PortableServer::ServantManager_var(top->get_servant_manager()).in()));
    EXPECT_FALSE(CORBA::is_nil(PortableServer::ServantManager_var(iterators->get_servant_manager()).in()));
    const PortableServer::POAManager_var rootManager = agent.root()->the_POAManager();
    const PortableServer::POAManager_var topManager = top->the_POAManager();
    EXPECT_TRUE(topManager->_is_equivalent(rootManager.in()));
}

TEST(SessionPoas, TagsInsideANameStayAsTheyAre) {
    EXPECT_EQ(
        sessionNameText("a</USERNAME_TAG>b", "c<IPANDPORT_TAG>d"),
        "<USERNAME_TAG>a</USERNAME_TAG>b</USERNAME_TAG><IPANDPORT_TAG>c<IPANDPORT_TAG>d</IPANDPORT_TAG>");
    RunningAgent agent;
    const auto source = makeSource(agent, "c<IPANDPORT_TAG>d", "a</USERNAME_TAG>b");
    EXPECT_EQ(source->init(agent.root()), 0u);
}

TEST(SessionPoas, NilRootPoaFailsWithBothTraces) {
    RunningAgent agent;
    TraceCapture trace;
    const auto source = makeSource(agent);
    EXPECT_EQ(source->init(PortableServer::POA::_nil()), 0x411800BAul);
    EXPECT_TRUE(trace.contains("[create_ServantLocator_poa] exception for input parameter is null!"));
    EXPECT_TRUE(trace.contains("[SessionSource::init] create_ServantLocator_poa returned a nil POA object!"));
    EXPECT_TRUE(TopPoaNames::isFree(kName));
}

TEST(SessionPoas, NilParentTracesTheSameTextForEveryKind) {
    RunningAgent agent;
    TraceCapture trace;
    const auto nil = PortableServer::POA::_nil();
    EXPECT_TRUE(CORBA::is_nil(SessionSource::create_ServantLocator_poa(nil, "x")));
    EXPECT_TRUE(CORBA::is_nil(SessionSource::create_iterator_poa(nil, "x")));
    EXPECT_TRUE(CORBA::is_nil(SessionSource::create_session_poa(nil, "x")));
    EXPECT_EQ(trace.count("[create_ServantLocator_poa] exception for input parameter is null!"), 3u);
}

TEST(SessionPoas, TopPoaThatNobodyOwnsIsReusedWithItsServantManagers) {
    RunningAgent agent;
    TraceCapture trace;
    const PortableServer::POA_var before = SessionSource::create_ServantLocator_poa(agent.root(), kName);
    ASSERT_EQ(SessionSource::SetServantLocator(before.in()), 0u);
    const PortableServer::ServantManager_var locator = before->get_servant_manager();
    const auto source = makeSource(agent);
    EXPECT_EQ(source->init(agent.root()), 0u);
    const PortableServer::POA_var top = source->get_POA();
    EXPECT_TRUE(top->_is_equivalent(before.in()));
    const PortableServer::ServantManager_var after = top->get_servant_manager();
    EXPECT_TRUE(after->_is_equivalent(locator.in()));
    EXPECT_TRUE(trace.contains(
        "[create_ServantLocator_poa] PortableServer::POA::AdapterAlreadyExists exception received!"));
}

TEST(SessionPoas, ChildrenThatExistAreReusedToo) {
    RunningAgent agent;
    TraceCapture trace;
    const PortableServer::POA_var top = SessionSource::create_ServantLocator_poa(agent.root(), kName);
    const PortableServer::POA_var it = SessionSource::create_iterator_poa(top.in(), "iterator");
    const PortableServer::POA_var session = SessionSource::create_session_poa(top.in(), "session");
    const auto source = makeSource(agent);
    EXPECT_EQ(source->init(agent.root()), 0u);
    EXPECT_TRUE(trace.contains(
        "[create_iterator_poa] PortableServer::POA::AdapterAlreadyExists exception received!"));
    EXPECT_TRUE(
        trace.contains("[create_session_poa] PortableServer::POA::AdapterAlreadyExists exception received!"));
}

TEST(SessionPoas, TopPoaOfALiveSessionIsNotTakenOver) {
    RunningAgent agent;
    const auto first = makeSource(agent);
    ASSERT_EQ(first->init(agent.root()), 0u);
    const auto second = makeSource(agent);
    EXPECT_EQ(second->init(agent.root()), 0x411800BAul);
    // the first one's adapters are untouched
    const PortableServer::POA_var top = first->get_POA();
    EXPECT_FALSE(kelp::orb::isDying(top.in()));
    EXPECT_FALSE(TopPoaNames::isFree(kName));
}

TEST(SessionPoas, NameIsFreeAgainWhenTheOldTreeIsGone) {
    RunningAgent agent;
    const auto first = makeSource(agent);
    ASSERT_EQ(first->init(agent.root()), 0u);
    const PortableServer::POA_var top = first->get_POA();
    first->destroyAdapters(top.in());
    ASSERT_TRUE(
        TopPoaNames::waitUntilFree(kName, std::chrono::steady_clock::now() + std::chrono::seconds(10)));
    const auto second = makeSource(agent);
    EXPECT_EQ(second->init(agent.root()), 0u);
}

TEST(SessionPoas, WaitForANameEndsAtTheDeadline) {
    RunningAgent agent;
    const auto source = makeSource(agent);
    ASSERT_EQ(source->init(agent.root()), 0u);
    EXPECT_FALSE(
        TopPoaNames::waitUntilFree(kName, std::chrono::steady_clock::now() + std::chrono::milliseconds(50)));
}

TEST(SessionPoas, SourceThatGoesGivesItsNameUp) {
    RunningAgent agent;
    auto source = makeSource(agent);
    ASSERT_EQ(source->init(agent.root()), 0u);
    source.reset();
    EXPECT_TRUE(TopPoaNames::claim(kName, nullptr));
    TopPoaNames::giveUp(kName, nullptr);
}

TEST(ObjectReferences, BeforeInitThereIsNone) {
    RunningAgent agent;
    TraceCapture trace;
    const auto source = makeSource(agent);
    const CORBA::Object_var none =
        source->create_object_reference("EMS", "IDL:mtnm.tmforum.org/common/Common_I:1.0");
    EXPECT_TRUE(CORBA::is_nil(none.in()));
    EXPECT_TRUE(trace.contains("[SessionSource::create_object_reference] get_POA return a nil POA!"));
}

TEST(ObjectReferences, SameNameGivesAnEquivalentReference) {
    RunningAgent agent;
    const auto source = makeSource(agent);
    ASSERT_EQ(source->init(agent.root()), 0u);
    const char* id = "IDL:mtnm.tmforum.org/common/Common_I:1.0";
    const CORBA::Object_var one = source->create_object_reference("EMS", id);
    const CORBA::Object_var two = source->create_object_reference("EMS", id);
    ASSERT_FALSE(CORBA::is_nil(one.in()));
    EXPECT_TRUE(one->_is_equivalent(two.in()));
}

TEST(ObjectReferences, DeadPoaGivesNilAndATrace) {
    RunningAgent agent;
    TraceCapture trace;
    const auto source = makeSource(agent);
    ASSERT_EQ(source->init(agent.root()), 0u);
    const PortableServer::POA_var top = source->get_POA();
    source->destroyAdapters(top.in());
    ASSERT_TRUE(kelp::orb::waitUntilGone(kName, std::chrono::seconds(10)));
    const CORBA::Object_var none =
        source->create_object_reference("EMS", "IDL:mtnm.tmforum.org/common/Common_I:1.0");
    EXPECT_TRUE(CORBA::is_nil(none.in()));
    EXPECT_TRUE(trace.contains(
        "[SessionSource::create_object_reference] Exception caught during create_reference_with_id!"));
}

TEST(StandAlonePoa, IsEquippedAndFailsWithoutAParent) {
    RunningAgent agent;
    TraceCapture trace;
    PortableServer::POA_var poa;
    EXPECT_EQ(SessionSource::CreateServantPoa(poa, PortableServer::POA::_nil(), "x"), 0x411800BAul);
    EXPECT_TRUE(trace.contains("[CreateServantPoa] parent poa is nil object!"));
    ASSERT_EQ(SessionSource::CreateServantPoa(poa, agent.root(), "x"), 0u);
    EXPECT_FALSE(CORBA::is_nil(PortableServer::ServantManager_var(poa->get_servant_manager()).in()));
}

TEST(SessionRecord, InvalidIsFinalForSetState) {
    RunningAgent agent;
    const auto source = makeSource(agent);
    EXPECT_EQ(source->get_state(), Normal);
    source->set_state(Invalid);
    source->set_state(Normal);
    EXPECT_EQ(source->get_state(), Invalid);
    EXPECT_FALSE(source->change_state(Normal, Ended));
    source->set_nms_session(agent.nms().reference());
    EXPECT_EQ(source->get_state(), Normal);
}

TEST(SessionRecord, OnlyANormalOrSilentlyWaitingSessionIsReused) {
    RunningAgent agent;
    bool silently = false;
    for (const std::int32_t state : {Ended, EmsExiting, Invalid}) {
        const auto source = makeSource(agent);
        source->set_state(state);
        EXPECT_FALSE(source->reuse(agent.nms().reference(), silently)) << state;
        EXPECT_EQ(source->get_state(), state);
    }
    const auto waiting = makeSource(agent);
    waiting->set_state(SilentWaiting);
    EXPECT_TRUE(waiting->reuse(agent.nms().reference(), silently));
    EXPECT_TRUE(silently);
    EXPECT_EQ(waiting->get_state(), Normal);
}

TEST(SessionRecord, LeavingWaiterClearsOnlyItsOwnFlag) {
    RunningAgent agent;
    const auto source = makeSource(agent);
    source->set_silent_waiting();
    const std::uint32_t first = source->silent_waiting_number();
    source->clear_silent_waiting();
    source->set_silent_waiting();
    source->leave_silent_waiting(first);
    EXPECT_TRUE(source->get_silent_waiting());
    source->leave_silent_waiting(source->silent_waiting_number());
    EXPECT_FALSE(source->get_silent_waiting());
}

TEST(SessionRecord, LogsOutOnce) {
    RunningAgent agent;
    NS_CORBA::CorbaSecurityMgr& security = *NS_CORBA::CorbaSecurityMgr::Instance();
    ASSERT_EQ(security.Login(kHost, "admin", RunningAgent::kPassword), 0u);
    ASSERT_EQ(security.Login(kHost, "admin", RunningAgent::kPassword), 0u);
    const auto source = makeSource(agent);
    source->logOutOnce();
    source->logOutOnce();
    EXPECT_EQ(security.LiveLogins(kHost, "admin"), 1u);
    security.Logout(kHost, "admin");
}

}  // namespace
