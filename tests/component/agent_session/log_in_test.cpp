// Logging in: refusals, replaced sessions, and clean-up.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/agent/error_translation.h>
#include <kelp/orb/poas.h>

#include "adapter/claimed_poa_names.h"
#include "adapter/session_source.h"
#include "support/agent_fixture.h"
#include "support/trace_capture.h"
#include "support/trace_trigger.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

TEST(LogIn, GivesASessionThatAnswers) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    ASSERT_FALSE(CORBA::is_nil(session.in()));
    const auto remote = agent.overTheWire<emsSession::EmsSession_I>(session.in());
    remote->ping();
    EXPECT_EQ(agent.sessions().SessionCount(), 1u);
    EXPECT_EQ(agent.liveLogins(agent.nms()), 1u);
}

TEST(LogIn, WorksOverAConnection) {
    RunningAgent agent;
    const auto factory = agent.remoteFactory();
    emsSession::EmsSession_I_var session;
    factory->getEmsSession("admin", "secret", agent.nms().reference(), session.out());
    session->ping();
    EXPECT_EQ(agent.liveLogins(agent.nms()), 1u);
    const CORBA::String_var version = factory->getVersion();
    EXPECT_STREQ(version.in(), "3.5");
}

TEST(LogIn, NamesTheNmsByTheAddressInItsOwnReference) {
    RunningAgent agent;
    const TraceCapture trace;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms(7));
    EXPECT_TRUE(trace.contains("[EmsSession_IImpl::EmsSession_IImpl] EmsSession for NMS-<" +
                               agent.nms(7).hostInfo() + "> has been constructured!"));
    EXPECT_TRUE(trace.contains("[ RefCount_OneParameter]  ref_count!"));
    EXPECT_TRUE(trace.contains("[SessionMgr::add_emsSession] Add new session successfully!"));
    const auto listed = agent.listed(agent.nms(7));
    ASSERT_TRUE(listed);
    EXPECT_EQ(listed->source()->get_ip_and_port(), agent.nms(7).hostInfo());
    EXPECT_EQ(listed->source()->get_user_name(), "admin");
}

TEST(LogIn, RefusesNullInputs) {
    RunningAgent agent;
    emsSession::EmsSession_I_var session;
    const auto nms = agent.nms().reference();
    EXPECT_EQ(
        refusalOf([&] { agent.factory().getEmsSession(nullptr, "secret", nms, session.out()); }),
        0x4118005Ful);
    EXPECT_EQ(
        refusalOf([&] { agent.factory().getEmsSession("admin", nullptr, nms, session.out()); }),
        0x4118005Ful);
    EXPECT_EQ(refusalOf([&] {
                  agent.factory().getEmsSession("admin", "secret", nmsSession::NmsSession_I::_nil(),
                                                session.out());
              }),
              0x4118005Ful);
    EXPECT_TRUE(CORBA::is_nil(session.in()));
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
}

TEST(LogIn, ReportsANullInputAsInvalidOverAConnection) {
    RunningAgent agent;
    emsSession::EmsSession_I_var session;
    try {
        agent.remoteFactory()->getEmsSession("admin", "secret", nmsSession::NmsSession_I::_nil(),
                                             session.out());
        FAIL() << "a nil reference was accepted";
    } catch (const globaldefs::ProcessingFailureException& refusal) {
        EXPECT_EQ(refusal.exceptionType, globaldefs::EXCPT_INVALID_INPUT);
    }
}

TEST(LogIn, RefusesAReferenceWithoutAnAddress) {
    RunningAgent agent;
    const TraceCapture trace;
    // a reference of a foreign ORB whose only profile is of an unknown kind
    const CORBA::Object_var object = kelp::orb::toReference(
        agent.orb(), "IOR:01000000010000000000000001000000785634120400000001020304");
    const nmsSession::NmsSession_I_var nms =
        nmsSession::NmsSession_I::_unchecked_narrow(object.in());
    EXPECT_EQ(refusalOf([&] { agent.logIn(nms.in()); }), 0x41180053ul);
    EXPECT_TRUE(trace.contains(
        "[EmsSessionFactory_IImpl::getEmsSession] Parser NMSSession_I object reference failed!"));
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
}

TEST(LogIn, RefusesAWrongPasswordWithTheSecurityManagersCode) {
    RunningAgent agent;
    const TraceCapture trace;
    EXPECT_EQ(refusalOf([&] { agent.logIn(agent.nms(), "admin", "guess"); }),
              NS_CORBA::kWrongPassword);
    EXPECT_TRUE(trace.contains("[EmsSessionFactory_IImpl::getEmsSession] NMS-<" +
                               agent.nms().hostInfo() + "> Login failed!"));
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
    EXPECT_EQ(agent.liveLogins(agent.nms()), 0u);
}

TEST(LogIn, OfTheSameNmsAndUserEndsTheEarlierSession) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var first = agent.logIn(agent.nms());
    const common::Common_I_var firstManager = agent.remoteManager(first.in());
    const TraceCapture trace;
    const emsSession::EmsSession_I_var second = agent.logIn(agent.nms());

    EXPECT_TRUE(trace.contains(
        "[getEmsSession] IP Adress and Port conflict, the session will be destroyed!"));
    EXPECT_TRUE(
        trace.contains("[EmsSessionFactory_IImpl::getEmsSession] remove the old session NMS-<" +
                       agent.nms().hostInfo() + ">."));
    EXPECT_FALSE(first->_is_equivalent(second.in()));
    const auto firstRemote = agent.overTheWire<emsSession::EmsSession_I>(first.in());
    EXPECT_TRUE(waitUntil([&] { return isGone([&] { firstRemote->ping(); }); }));
    EXPECT_TRUE(isGone([&] {
        common::CapabilityList_T_var list;
        firstManager->getCapabilities(list.out());
    }));
    second->ping();
    EXPECT_EQ(agent.sessions().SessionCount(), 1u);
    EXPECT_EQ(agent.liveLogins(agent.nms()), 1u);
}

TEST(LogIn, LeavesTheEarlierSessionAloneWhenThePasswordIsWrong) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var earlier = agent.logIn(agent.nms());
    EXPECT_EQ(refusalOf([&] { agent.logIn(agent.nms(), "admin", "guess"); }),
              NS_CORBA::kWrongPassword);
    EXPECT_EQ(agent.sessions().SessionCount(), 1u);
    EXPECT_EQ(agent.liveLogins(agent.nms()), 1u);
    earlier->ping();
}

TEST(LogIn, FromAnotherPortOfTheSameHostIsAnotherNms) {
    RunningAgent agent;
    const auto withPort = [&](std::uint16_t port) {
        const CORBA::Object_var object = kelp::orb::toReference(
            agent.orb(), "corbaloc:iiop:1.2@10.0.0.1:" + std::to_string(port) + "/Nms");
        return nmsSession::NmsSession_I_var(
            nmsSession::NmsSession_I::_unchecked_narrow(object.in()));
    };
    const nmsSession::NmsSession_I_var one = withPort(5001);
    const nmsSession::NmsSession_I_var other = withPort(5002);
    const emsSession::EmsSession_I_var first = agent.logIn(one.in());
    const emsSession::EmsSession_I_var second = agent.logIn(other.in());
    first->ping();
    second->ping();
    EXPECT_EQ(agent.liveLogins("10.0.0.1:5001"), 1u);
    EXPECT_EQ(agent.liveLogins("10.0.0.1:5002"), 1u);
    EXPECT_EQ(agent.sessions().SessionCount(), 2u);
}

TEST(LogIn, OfAnotherUserFromTheSameNmsGetsItsOwnSession) {
    RunningAgent agent;
    agent.addUser("second");
    const emsSession::EmsSession_I_var first = agent.logIn(agent.nms(), "admin");
    const emsSession::EmsSession_I_var second = agent.logIn(agent.nms(), "second");
    first->ping();
    second->ping();
    EXPECT_NE(agent.listed(agent.nms(), "admin").get(), agent.listed(agent.nms(), "second").get());
    EXPECT_EQ(agent.liveLogins(agent.nms(), "admin"), 1u);
    EXPECT_EQ(agent.liveLogins(agent.nms(), "second"), 1u);
}

TEST(LogIn, EndsASessionWhoseObjectCannotBeMade) {
    RunningAgent agent;
    // destroy the session object's POA just before the object is created
    const TraceTrigger trigger("[SessionMgr::add_emsSession] Add new session successfully!", [&] {
        const PortableServer::POA_var top = agent.listed(agent.nms())->source()->get_POA();
        const PortableServer::POA_var child = top->find_POA("session", false);
        child->destroy(true, true);
    });
    EXPECT_EQ(refusalOf([&] { agent.logIn(agent.nms()); }), 0x411800BAul);
    ASSERT_TRUE(trigger.hasFired());
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
    EXPECT_EQ(agent.liveLogins(agent.nms()), 0u);
    const std::string name = sessionNameText("admin", agent.nms().hostInfo());
    EXPECT_TRUE(waitUntil([&] { return !kelp::orb::isNameDying(name); }));
    EXPECT_THROW(PortableServer::POA_var(agent.root()->find_POA(name.c_str(), false)),
                 PortableServer::POA::AdapterNonExistent);
    const emsSession::EmsSession_I_var again = agent.logIn(agent.nms());
    again->ping();
}

TEST(LogIn, WhosePoaTreeDiesMeanwhileEndsAndLogsOut) {
    RunningAgent agent;
    const TraceTrigger trigger("[SessionMgr::add_emsSession] Add new session successfully!", [&] {
        const PortableServer::POA_var top = agent.listed(agent.nms())->source()->get_POA();
        top->destroy(true, true);
    });
    EXPECT_EQ(refusalOf([&] { agent.logIn(agent.nms()); }), 0x411800BAul);
    ASSERT_TRUE(trigger.hasFired());
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
    EXPECT_EQ(agent.liveLogins(agent.nms()), 0u);
}

TEST(LogIn, GivesItsReferenceCountsToListAndPoa) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto listed = agent.listed(agent.nms());
    EXPECT_EQ(listed->_refcount_value(), 3u) << "list, POA and this test";
}

TEST(LogIn, UndoesEverythingWhenTheAdaptersCannotBeMade) {
    RunningAgent agent;
    const std::string name = sessionNameText("admin", agent.nms().hostInfo());
    // another session claims the POA's name before this one does
    const SessionSource* const other = nullptr;
    const TraceTrigger trigger("ref_count!", [&] { ClaimedPoaNames::claim(name, other); });
    const TraceCapture trace;
    EXPECT_EQ(refusalOf([&] { agent.logIn(agent.nms()); }), 0x411800BAul);
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
    EXPECT_EQ(agent.liveLogins(agent.nms()), 0u);
    const std::string nms = "NMS-<" + agent.nms().hostInfo() + ">";
    EXPECT_THAT(
        trace.lines(),
        testing::IsSupersetOf(
            {"[EmsSession_IImpl::~EmsSession_IImpl] EmsSession for " + nms + " has been destroyed!",
             "[EmsSessionFactory_IImpl::getEmsSession] Initialize Session Source for " + nms +
                 " Failed!"}));
    EXPECT_EQ(trace.lines().back(),
              "[EmsSessionFactory_IImpl::getEmsSession] Initialize Session Source for " + nms +
                  " Failed!");
    ClaimedPoaNames::giveUp(name, other);
    const emsSession::EmsSession_I_var again = agent.logIn(agent.nms());
    again->ping();
}

}  // namespace
