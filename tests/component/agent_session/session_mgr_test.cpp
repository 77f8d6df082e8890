// The session manager's list of sessions, and its start and stop.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/corbabase/ref_count.h>

#include "adapter/session_source.h"
#include "support/agent_fixture.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;
using CountedSession = NS_CORBA::RefCount_OneParameter<EmsSession_IImpl, SessionSource*>;

/// The session manager with sessions that have no log-in. No ping thread runs.
class SessionList : public testing::Test {
  protected:
    SessionList() : agent_(AgentOptions{.startsSessionMgr = false}) {}
    ~SessionList() override {
        for (EmsSession_IImpl* each : made_)
            each->_remove_ref();
    }

    /// List a session that the test also holds.
    EmsSession_IImpl* list(const std::string& hostInfo, const std::string& user) {
        made_.push_back(
            new CountedSession(SessionSource::create(hostInfo, user, agent_.nms().reference())));
        made_.back()->_add_ref();
        EXPECT_EQ(sessions().add_emsSession(made_.back()), 0);
        return made_.back();
    }
    SessionMgr& sessions() { return agent_.sessions(); }

    RunningAgent agent_;
    std::vector<EmsSession_IImpl*> made_;
};

TEST_F(SessionList, HandsOverASessionOnlyOnce) {
    EmsSession_IImpl* const session = list("10.0.0.1:5000", "admin");
    ASSERT_EQ(session->_refcount_value(), 2u);
    EXPECT_EQ(sessions().GetNmsSession("10.0.0.1:5000", "admin"), session);
    EXPECT_EQ(session->_refcount_value(), 2u) << "the list's reference is the caller's now";
    EXPECT_EQ(sessions().SessionCount(), 0u);
    EXPECT_EQ(sessions().GetNmsSession("10.0.0.1:5000", "admin"), nullptr);
    session->_remove_ref();
}

TEST_F(SessionList, ReturnsASessionThatStaysListed) {
    EmsSession_IImpl* const session = list("10.0.0.1:5000", "admin");
    EXPECT_EQ(sessions().GetNmsSessionByNmsInfo("10.0.0.1:5000", "admin"), session);
    EXPECT_EQ(sessions().GetNmsSessionByNmsInfo("10.0.0.1:5000", "admin"), session);
    EXPECT_EQ(session->_refcount_value(), 2u);
    EXPECT_EQ(sessions().SessionCount(), 1u);
}

TEST_F(SessionList, MatchesHostAndUserByteForByte) {
    list("10.0.0.1:5000", "admin");
    for (const auto& [host, user] :
         std::vector<std::pair<std::string, std::string>>{{"10.0.0.1:5001", "admin"},
                                                          {"10.0.0.1:5000", "Admin"},
                                                          {"10.0.0.1:5000", ""},
                                                          {"10.0.0.1:500", "admin"},
                                                          {"10.0.0.1:5000 ", "admin"}}) {
        EXPECT_EQ(sessions().GetNmsSessionByNmsInfo(host, user), nullptr) << host << " " << user;
        EXPECT_EQ(sessions().GetNmsSession(host, user), nullptr) << host << " " << user;
    }
    EXPECT_EQ(sessions().SessionCount(), 1u);
}

TEST_F(SessionList, KeepsUsersOfOneHostApart) {
    EmsSession_IImpl* const one = list("10.0.0.1:5000", "one");
    EmsSession_IImpl* const other = list("10.0.0.1:5000", "other");
    EXPECT_EQ(sessions().GetNmsSessionByNmsInfo("10.0.0.1:5000", "other"), other);
    EXPECT_EQ(sessions().GetNmsSessionByNmsInfo("10.0.0.1:5000", "one"), one);
}

TEST_F(SessionList, FindsTheOldestOfEqualSessionsFirst) {
    EmsSession_IImpl* const older = list("10.0.0.1:5000", "admin");
    EmsSession_IImpl* const newer = list("10.0.0.1:5000", "admin");
    EXPECT_EQ(sessions().GetNmsSession("10.0.0.1:5000", "admin"), older);
    EXPECT_EQ(sessions().GetNmsSession("10.0.0.1:5000", "admin"), newer);
    older->_remove_ref();
    newer->_remove_ref();
}

TEST_F(SessionList, IsInTheOrderOfTheLogIns) {
    std::vector<EmsSession_IImpl*> listed;
    for (const char* user : {"c", "a", "b"})
        listed.push_back(list("10.0.0.1:5000", user));
    std::vector<EmsSession_IImpl*> pinned;
    for (const auto& each : sessions().PinSessions())
        pinned.push_back(each.get());
    EXPECT_EQ(pinned, listed);
}

TEST_F(SessionList, PinsWhatItCopies) {
    EmsSession_IImpl* const session = list("10.0.0.1:5000", "admin");
    const auto pinned = sessions().PinSessions();
    EXPECT_EQ(session->_refcount_value(), 3u);
    const auto one = sessions().PinNmsSession("10.0.0.1:5000", "admin");
    EXPECT_EQ(session->_refcount_value(), 4u);
}

TEST_F(SessionList, ErasesOnlyListedSessionsThatAreNotNormal) {
    EmsSession_IImpl* const normal = list("10.0.0.1:5000", "normal");
    EmsSession_IImpl* const ended = list("10.0.0.1:5000", "ended");
    EmsSession_IImpl* const invalid = list("10.0.0.1:5000", "invalid");
    EmsSession_IImpl* const waiting = list("10.0.0.1:5000", "waiting");
    EmsSession_IImpl* const unlisted = list("10.0.0.1:5000", "unlisted");
    ended->source()->set_state(Ended);
    invalid->source()->set_state(Invalid);
    waiting->source()->set_state(SilentWaiting);
    unlisted->source()->set_state(Ended);
    sessions().GetNmsSession("10.0.0.1:5000", "unlisted")->_remove_ref();

    EXPECT_EQ(sessions().EraseSessions({normal, ended, invalid, waiting, unlisted}), 3);
    EXPECT_EQ(sessions().SessionCount(), 1u);
    EXPECT_EQ(sessions().GetNmsSessionByNmsInfo("10.0.0.1:5000", "normal"), normal);
    EXPECT_EQ(normal->_refcount_value(), 2u);
    EXPECT_EQ(ended->_refcount_value(), 1u);
    EXPECT_EQ(unlisted->_refcount_value(), 1u);
    EXPECT_EQ(sessions().EraseSessions({normal, ended}), 0);
}

TEST_F(SessionList, KnowsWhoIsLoggedIn) {
    list("10.0.0.1:5000", "admin");
    EXPECT_TRUE(sessions().isAdminAlreadyLoginIn("admin"));
    EXPECT_FALSE(sessions().isAdminAlreadyLoginIn("Admin"));
    EXPECT_FALSE(sessions().isAdminAlreadyLoginIn(""));
    sessions().GetNmsSession("10.0.0.1:5000", "admin")->_remove_ref();
    EXPECT_FALSE(sessions().isAdminAlreadyLoginIn("admin"));
}

TEST_F(SessionList, GivesTheSourceOfASession) {
    EmsSession_IImpl* const session = list("10.0.0.1:5000", "admin");
    EXPECT_EQ(sessions().GetSessionSource(session), session->source());
    EXPECT_EQ(sessions().GetSessionSource(nullptr), nullptr);
}

TEST_F(SessionList, IsLoggedOutAndReleasedWhenTheManagerIsDestroyed) {
    EmsSession_IImpl* const session = list(agent_.nms().hostInfo(), "admin");
    auto& security = *NS_CORBA::CorbaSecurityMgr::Instance();
    ASSERT_EQ(security.Login(agent_.nms().hostInfo(), "admin", "secret"), 0u);
    const TraceCapture trace;
    SessionMgr::Destroy();
    EXPECT_EQ(SessionMgr::Existing(), nullptr);
    EXPECT_EQ(agent_.liveLogins(agent_.nms()), 0u);
    EXPECT_EQ(session->_refcount_value(), 1u);
    EXPECT_TRUE(trace.contains("[SessionMgr::~SessionMgr] CORBA Session Management Exit!"));
    SessionMgr::Destroy();
    EXPECT_EQ(trace.count("CORBA Session Management Exit!"), 1u)
        << "without an instance nothing is destroyed";
}

TEST_F(SessionList, OfADestroyedManagerDoesNotLogOutAUserTwice) {
    EmsSession_IImpl* const session = list(agent_.nms().hostInfo(), "admin");
    auto& security = *NS_CORBA::CorbaSecurityMgr::Instance();
    ASSERT_EQ(security.Login(agent_.nms().hostInfo(), "admin", "secret"), 0u);
    session->source()->logOutOnce();
    ASSERT_EQ(security.Login(agent_.nms().hostInfo(), "admin", "secret"), 0u);
    SessionMgr::Destroy();
    EXPECT_EQ(agent_.liveLogins(agent_.nms()), 1u);
}

// -- life

TEST(SessionMgrLife, StartsAndReportsThatItIsReady) {
    RunningAgent agent(AgentOptions{.startsSessionMgr = false});
    const TraceCapture trace;
    EXPECT_EQ(agent.startSessionMgr(), 0);
    EXPECT_TRUE(trace.contains("[SessionMgr::Init] Session manager is ready now!"));
    EXPECT_EQ(SessionMgr::Instance(), SessionMgr::Existing());
    agent.stop();
    EXPECT_TRUE(trace.contains("[SessionMgr::close] SessionMgr has been closed!"));
}

TEST(SessionMgrLife, DoesNotStartWithoutAnyManager) {
    // nothing was ever entered in this process
    const TraceCapture trace;
    EXPECT_EQ(SessionMgr::Instance()->Init(), -1);
    EXPECT_TRUE(trace.contains("[SessionMgr::Init] MgrFactoryMap is null!"));
    SessionMgr::Destroy();
    NS_BUNDLEMGR1::LightEventMgr::Instance()->Stop();
}

TEST(SessionMgrLife, DoesNotStartWithANullFactory) {
    RunningAgent agent(AgentOptions{.startsSessionMgr = false});
    ASSERT_TRUE(agent.base().EnterNorthMgrFactory("Null", nullptr));
    const TraceCapture trace;
    EXPECT_EQ(agent.startSessionMgr(), -1);
    EXPECT_TRUE(trace.contains("[SessionMgr::Init] MgrFactory object is null!"));
    // factories are called in the order of their names, so EMS has already been created
    EXPECT_EQ(agent.managers().alive, 1);
    SessionMgr::Destroy();
    EXPECT_EQ(agent.managers().alive, 0) << "what was made before the failure is released";
    agent.base().LeaveNorthMgrFactory("Null");
}

TEST(SessionMgrLife, DoesNotStartWhenAManagerCannotBeMade) {
    RunningAgent agent(AgentOptions{.startsSessionMgr = false});
    TestManagerFactory refusing;
    refusing.refuses = true;
    ASSERT_TRUE(agent.base().EnterNorthMgrFactory("Refusing", &refusing));
    const TraceCapture trace;
    EXPECT_EQ(agent.startSessionMgr(), -1);
    EXPECT_TRUE(trace.contains("[SessionMgr::Init] Create servant object failed!"));
    SessionMgr::Destroy();
    EXPECT_EQ(agent.managers().alive, 0);
    agent.base().LeaveNorthMgrFactory("Refusing");
}

TEST(SessionMgrLife, PostsItsEndWhenThePingThreadCannotBeStarted) {
    RunningAgent agent;
    const TraceCapture trace;
    // the task refuses a second activation
    EXPECT_EQ(agent.sessions().open(), 0);
    EXPECT_TRUE(trace.contains("Failed to activate SessionMgr::open,errCode is 1"));
    agent.requestExit();
    agent.sessions().ExitThread();
    // both the failed activation and the ping thread post the end, so neither wait blocks forever
    agent.endSessions();
}

TEST(SessionMgrLife, MayBeStartedAgainAfterItWasDestroyed) {
    RunningAgent agent;
    agent.logIn(agent.nms());
    agent.requestExit();
    agent.endSessions();
    SessionMgr::Destroy();
    AgentState::instance().exitRequested = false;
    ASSERT_EQ(agent.startSessionMgr(), 0);
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    session->ping();
    EXPECT_EQ(agent.managers().alive, 1);
    agent.requestExit();
    agent.sessions().ExitThread();
}

}  // namespace
