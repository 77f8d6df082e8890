// The session object that an NMS holds.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/corbabase/event_mgr.h>
#include <kelp/corbabase/ref_count.h>
#include <kelp/orb/references.h>
#include <kelp/orb/servants.h>

#include "adapter/session_source.h"
#include "support/agent_fixture.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;
using CountedSession = NS_CORBA::RefCount_OneParameter<EmsSession_IImpl, SessionSource*>;

/// Return a session servant that owns `source`. It is neither logged in nor listed.
ServantRef<EmsSession_IImpl> bareSession(SessionSource* source) {
    return ServantRef<EmsSession_IImpl>::take(new CountedSession(source));
}

std::vector<std::string> textsOf(const emsSession::EmsSession_I::managerNames_T& names) {
    std::vector<std::string> texts;
    for (CORBA::ULong i = 0; i < names.length(); ++i)
        texts.emplace_back(names[i].in());
    return texts;
}

TEST(SessionObject, ReturnsTheNmsSessionAsItsAssociatedSession) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto remote = agent.overTheWire<emsSession::EmsSession_I>(session.in());
    const session::Session_I_var associated = remote->associatedSession();
    EXPECT_TRUE(associated->_is_equivalent(agent.nms().reference()));
    associated->ping();
    EXPECT_EQ(agent.nms()->pings, 1);
}

TEST(SessionObject, GreetsInTheTraceWhenItIsPinged) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const TraceCapture trace;
    session->ping();
    ASSERT_EQ(trace.records().size(), 1u);
    EXPECT_EQ(trace.records()[0].text,
              "[EmsSession_IImpl::ping] Greeting From NMS-<" + agent.nms().hostInfo() + ">!");
    EXPECT_EQ(trace.records()[0].level, 3);
    EXPECT_EQ(trace.records()[0].kind, kelp::util::TraceKind::Debug);
    EXPECT_EQ(trace.records()[0].function, "unknown");
}

TEST(SessionObject, IsOverWhenTheNmsEndsIt) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const common::Common_I_var manager = agent.remoteManager(session.in());
    const auto servant = agent.listed(agent.nms());
    const TraceCapture trace;
    const auto remote = agent.overTheWire<emsSession::EmsSession_I>(session.in());
    remote->endSession();
    EXPECT_TRUE(waitUntil([&] { return agent.liveLogins(agent.nms()) == 0; }));
    EXPECT_EQ(servant->source()->get_state(), Ended);
    EXPECT_TRUE(trace.contains(
        "[TASessionSource::check_valid] Detect nmsSession failed or ems wants exit, now "
        "EMS will destroy associated emsSession resource!"));
    EXPECT_TRUE(waitUntil([&] { return isGone([&] { remote->ping(); }); }));
    EXPECT_TRUE(isGone([&] {
        common::CapabilityList_T_var list;
        manager->getCapabilities(list.out());
    }));
    EXPECT_EQ(agent.nms()->ends, 0) << "an NMS that ended its session is not told of the end";
    // the ping thread removes it from the list
    EXPECT_EQ(agent.sessions().SessionCount(), 1u);
}

TEST(SessionObject, StaysInvalidWhenItIsEnded) {
    RunningAgent agent;
    agent.logIn(agent.nms());
    const auto session = agent.listed(agent.nms());
    session->source()->set_state(Invalid);
    session->endSession();
    EXPECT_EQ(session->source()->get_state(), Invalid);
    EXPECT_EQ(agent.liveLogins(agent.nms()), 0u);
}

TEST(SessionObject, LogsOutOnceHoweverOftenItIsEnded) {
    RunningAgent agent;
    agent.logIn(agent.nms());
    const auto before = agent.listed(agent.nms());
    before->endSession();
    const emsSession::EmsSession_I_var successor = agent.logIn(agent.nms());
    before->endSession();
    before->endSession();
    EXPECT_EQ(agent.liveLogins(agent.nms()), 1u) << "the successor's log-in";
    successor->ping();
}

TEST(SessionObject, ListsTheManagersSortedByName) {
    RunningAgent agent(AgentOptions{.startsSessionMgr = false});
    TestManagerFactory more;
    for (const char* name : {"Protection", "ManagedElement", "AAA", "aaa"})
        ASSERT_TRUE(agent.base().EnterNorthMgrFactory(name, &more));
    ASSERT_EQ(agent.startSessionMgr(), 0);
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    emsSession::EmsSession_I::managerNames_T_var names;
    agent.overTheWire<emsSession::EmsSession_I>(session.in())->getSupportedManagers(names.out());
    EXPECT_THAT(textsOf(names.in()),
                testing::ElementsAre("AAA", "EMS", "ManagedElement", "Protection", "aaa"));
    agent.stop();
    EXPECT_EQ(more.alive, 0);
    for (const char* name : {"Protection", "ManagedElement", "AAA", "aaa"})
        agent.base().LeaveNorthMgrFactory(name);
}

TEST(SessionObject, GivesAManagerThatAnswersUnderItsOwnType) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto remote = agent.overTheWire<emsSession::EmsSession_I>(session.in());
    common::Common_I_var manager;
    remote->getManager("EMS", manager.out());
    kelp::orb::ReferenceContent content;
    ASSERT_TRUE(kelp::orb::describe(agent.orb(), manager.in(), content));
    EXPECT_EQ(content.typeId, kelp::orb::repositoryId(&agent.manager()));
    common::CapabilityList_T_var capabilities;
    agent.overTheWire<common::Common_I>(manager.in())->getCapabilities(capabilities.out());
    EXPECT_EQ(agent.manager().calls, 1);
}

TEST(SessionObject, GivesTheSameReferenceForTheSameManager) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    common::Common_I_var one;
    common::Common_I_var other;
    session->getManager("EMS", one.out());
    session->getManager("EMS", other.out());
    EXPECT_TRUE(one->_is_equivalent(other.in()));
}

TEST(SessionObject, SharesTheManagersServantUnderItsOwnReference) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var first = agent.logIn(agent.nms(1));
    const emsSession::EmsSession_I_var second = agent.logIn(agent.nms(2));
    const common::Common_I_var firstManager = agent.remoteManager(first.in());
    const common::Common_I_var secondManager = agent.remoteManager(second.in());
    EXPECT_FALSE(firstManager->_is_equivalent(secondManager.in()));
    common::CapabilityList_T_var capabilities;
    firstManager->getCapabilities(capabilities.out());
    secondManager->getCapabilities(capabilities.out());
    EXPECT_EQ(agent.manager().calls, 2);
    EXPECT_EQ(agent.managers().made, 1);

    first->endSession();
    EXPECT_TRUE(waitUntil(
        [&] { return isGone([&] { firstManager->getCapabilities(capabilities.out()); }); }));
    secondManager->getCapabilities(capabilities.out());
}

TEST(SessionObject, RefusesAManagerThatItDoesNotKnow) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    common::Common_I_var manager;
    for (const char* name : {"ems", "Ems", "EMS ", "", "Protection"})
        EXPECT_EQ(refusalOf([&] { session->getManager(name, manager.out()); }), 0x41180039ul)
            << name;
    EXPECT_TRUE(CORBA::is_nil(manager.in()));
}

TEST(SessionObject, RefusesANullManagerName) {
    RunningAgent agent;
    agent.logIn(agent.nms());
    const auto session = agent.listed(agent.nms());
    const TraceCapture trace;
    common::Common_I_var manager;
    EXPECT_EQ(refusalOf([&] { session->getManager(nullptr, manager.out()); }), 0x4118005Ful);
    ASSERT_TRUE(trace.contains("[EmsSession_IImpl::getManager] Input managerName is null!"));
    EXPECT_EQ(trace.records()[0].level, 2);
}

TEST(SessionObject, CannotMakeAReferenceOnceItsTreeIsGone) {
    RunningAgent agent;
    agent.logIn(agent.nms());
    const auto session = agent.listed(agent.nms());
    const PortableServer::POA_var top = session->source()->get_POA();
    top->destroy(true, true);
    common::Common_I_var manager;
    EXPECT_EQ(refusalOf([&] { session->getManager("EMS", manager.out()); }), 0x411800BAul);
}

TEST(SessionObject, RefusesTheEventChannelWhileThereIsNone) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    CosNotifyChannelAdmin::EventChannel_var channel;
    EXPECT_EQ(refusalOf([&] { session->getEventChannel(channel.out()); }), 0x411800BAul);

    const CORBA::Object_var object =
        kelp::orb::toReference(agent.orb(), "corbaloc:iiop:1.2@127.0.0.1:9/Channel");
    const CosNotifyChannelAdmin::EventChannel_var made =
        CosNotifyChannelAdmin::EventChannel::_unchecked_narrow(object.in());
    NS_CORBA::EventMgr::Instance()->SetEventChannel(made.in());
    session->getEventChannel(channel.out());
    EXPECT_TRUE(channel->_is_equivalent(made.in()));
}

TEST(SessionObject, LivesInTheSessionPoaBelowItsTop) {
    RunningAgent agent;
    agent.logIn(agent.nms());
    const auto session = agent.listed(agent.nms());
    const PortableServer::POA_var poa = session->_default_POA();
    const CORBA::String_var name = poa->the_name();
    EXPECT_STREQ(name.in(), "session");
    const PortableServer::POA_var parent = poa->the_parent();
    const PortableServer::POA_var top = session->source()->get_POA();
    EXPECT_TRUE(parent->_is_equivalent(top.in()));

    session->endSession();
    EXPECT_TRUE(waitUntil([&] {
        const PortableServer::POA_var after = session->_default_POA();
        return CORBA::is_nil(after.in());
    }));
}

TEST(SessionObject, HasNoPoaBeforeItsSourceIsInitialised) {
    RunningAgent agent;
    const auto session =
        bareSession(SessionSource::create("10.0.0.1:1", "admin", agent.nms().reference()));
    const PortableServer::POA_var poa = session->_default_POA();
    EXPECT_TRUE(CORBA::is_nil(poa.in()));
    common::Common_I_var manager;
    EXPECT_EQ(refusalOf([&] { session->getManager("EMS", manager.out()); }), 0x411800BAul);
}

TEST(SessionObject, WithoutASourceAnswersWhatItCan) {
    RunningAgent agent;
    const TraceCapture trace;
    {
        const auto session = bareSession(nullptr);
        session->ping();
        session->endSession();
        const session::Session_I_var associated = session->associatedSession();
        EXPECT_TRUE(CORBA::is_nil(associated.in()));
        const PortableServer::POA_var poa = session->_default_POA();
        EXPECT_TRUE(CORBA::is_nil(poa.in()));
        common::Common_I_var manager;
        EXPECT_EQ(refusalOf([&] { session->getManager("EMS", manager.out()); }), 0x411800BAul);
        emsSession::EmsSession_I::managerNames_T_var names;
        session->getSupportedManagers(names.out());
        EXPECT_THAT(textsOf(names.in()), testing::ElementsAre("EMS"));
    }
    EXPECT_THAT(trace.lines(),
                testing::ElementsAre(
                    "[EmsSession_IImpl::EmsSession_IImpl] EmsSession for NMS-<unknown> has been "
                    "constructured!",
                    "[ RefCount_OneParameter]  ref_count!",
                    "[EmsSession_IImpl::ping] Greeting From NMS-<unknown>!",
                    "[ ~RefCount_OneParameter]  Reference count associated object destroyed!",
                    "[EmsSession_IImpl::~EmsSession_IImpl] EmsSession for NMS-<unknown> has been "
                    "destroyed!"));
}

TEST(SessionObject, IsDestroyedWithItsLastReference) {
    RunningAgent agent(AgentOptions().withRoundsEvery(1));
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const TraceCapture trace;
    session->endSession();
    EXPECT_TRUE(trace.waitFor("[EmsSession_IImpl::~EmsSession_IImpl] EmsSession for NMS-<" +
                              agent.nms().hostInfo() + "> has been destroyed!"));
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
}

TEST(SessionObject, ListsNothingWhenNoManagerWasEverEntered) {
    // there is no agent, and nothing was entered in this process
    const auto session = bareSession(nullptr);
    emsSession::EmsSession_I::managerNames_T_var names;
    session->getSupportedManagers(names.out());
    ASSERT_NE(&names.in(), nullptr);
    EXPECT_EQ(names->length(), 0u);
}

}  // namespace
