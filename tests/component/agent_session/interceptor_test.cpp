// What happens in every request: thread context, and the sign of life under release strategy 2.

#include <gtest/gtest.h>
#include <kelp/corbabase/ref_count.h>
#include <kelp/util/thread_context.h>
#include <pthread.h>

#include "adapter/session_source.h"
#include "session/silence_threads.h"
#include "support/agent_fixture.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

/// Observes the signals that a session receives from here on, in addition to its waiting thread.
class Signals {
  public:
    explicit Signals(ServantRef<EmsSession_IImpl> session) : session_(std::move(session)) {
        came();
    }

    /// Start a thread that waits for a sign of life of the session until the session or the agent
    /// ends, and observe the signals.
    static Signals whileWaiting(ServantRef<EmsSession_IImpl> session) {
        EXPECT_TRUE(SessionMgr::Instance()->SpawnWaiting(session.get(), theWaiting));
        return Signals(std::move(session));
    }

    /// True if a signal arrived since the last query.
    bool came() {
        const WaitEnd end = session_->wakePoint().wait(
            0, seen_, [] { return true; }, [] { return false; });
        return end == WaitEnd::Activity;
    }

  private:
    const ServantRef<EmsSession_IImpl> session_;
    std::uint64_t seen_ = 0;
};

AgentOptions bySilence() {
    return AgentOptions{.releaseStrategy = 2, .pingMode = true, .silentTimeS = 86400};
}

TEST(Interceptor, CountsARequestAsASignOfLifeOfItsSession) {
    RunningAgent agent(bySilence());
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto remote = agent.overTheWire<emsSession::EmsSession_I>(session.in());
    Signals signals = Signals::whileWaiting(agent.listed(agent.nms()));
    EXPECT_FALSE(signals.came());

    emsSession::EmsSession_I::managerNames_T_var names;
    remote->getSupportedManagers(names.out());
    EXPECT_TRUE(signals.came());
    const session::Session_I_var associated = remote->associatedSession();
    EXPECT_TRUE(signals.came());
    const common::Common_I_var manager = agent.remoteManager(session.in());
    EXPECT_FALSE(signals.came()) << "a call in the process is none over a connection";
    common::CapabilityList_T_var capabilities;
    manager->getCapabilities(capabilities.out());
    EXPECT_TRUE(signals.came());
    EXPECT_FALSE(manager->_non_existent());
    EXPECT_TRUE(signals.came());
}

TEST(Interceptor, CountsNeitherPingNorEndSessionAsASignOfLife) {
    RunningAgent agent(bySilence());
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto remote = agent.overTheWire<emsSession::EmsSession_I>(session.in());
    Signals signals = Signals::whileWaiting(agent.listed(agent.nms()));
    remote->ping();
    EXPECT_FALSE(signals.came());
    remote->endSession();
    EXPECT_TRUE(waitUntil([&] { return agent.liveLogins(agent.nms()) == 0; }));
    EXPECT_FALSE(signals.came());
}

TEST(Interceptor, SignalsNoOtherSessionOfTheUserOrTheHost) {
    RunningAgent agent(bySilence());
    agent.addUser("second");
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms(1));
    agent.logIn(agent.nms(2));
    agent.logIn(agent.nms(1), "second");
    Signals called = Signals::whileWaiting(agent.listed(agent.nms(1)));
    Signals otherHost = Signals::whileWaiting(agent.listed(agent.nms(2)));
    Signals otherUser = Signals::whileWaiting(agent.listed(agent.nms(1), "second"));
    emsSession::EmsSession_I::managerNames_T_var names;
    agent.overTheWire<emsSession::EmsSession_I>(session.in())->getSupportedManagers(names.out());
    EXPECT_TRUE(called.came());
    EXPECT_FALSE(otherHost.came());
    EXPECT_FALSE(otherUser.came());
}

TEST(Interceptor, SignalsOnlyASessionWithAnEmptyKeyForARequestOutsideOfSessions) {
    RunningAgent agent(bySilence());
    agent.logIn(agent.nms());
    auto* const nameless = new NS_CORBA::RefCount_OneParameter<EmsSession_IImpl, SessionSource*>(
        SessionSource::create("", "", agent.nms().reference()));
    ASSERT_EQ(agent.sessions().add_emsSession(nameless), 0);
    Signals named = Signals::whileWaiting(agent.listed(agent.nms()));
    Signals empty = Signals::whileWaiting(agent.sessions().PinNmsSession("", ""));
    const CORBA::String_var version = agent.remoteFactory()->getVersion();
    EXPECT_FALSE(named.came());
    EXPECT_TRUE(empty.came());
}

TEST(Interceptor, TakesARequestForASignOfLifeFromTheMomentThatASessionWaitsUntilNoneDoes) {
    RunningAgent agent(bySilence());
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms(1));
    const emsSession::EmsSession_I_var first = agent.logIn(agent.nms(2));
    const emsSession::EmsSession_I_var last = agent.logIn(agent.nms(3));
    const auto remote = agent.overTheWire<emsSession::EmsSession_I>(session.in());
    Signals signals(agent.listed(agent.nms(1)));
    const auto isSignalledByACall = [&] {
        emsSession::EmsSession_I::managerNames_T_var names;
        remote->getSupportedManagers(names.out());
        return signals.came();
    };
    const auto threadsLeft = [&](std::size_t count) {
        return waitUntil(
            [&] { return agent.sessions().WaitingThreads().count_threads() == count; });
    };
    EXPECT_FALSE(isSignalledByACall());

    Signals::whileWaiting(agent.listed(agent.nms(2)));
    EXPECT_TRUE(isSignalledByACall());
    Signals::whileWaiting(agent.listed(agent.nms(3)));
    EXPECT_TRUE(isSignalledByACall());
    first->endSession();
    ASSERT_TRUE(threadsLeft(1));
    EXPECT_TRUE(isSignalledByACall()) << "one of two waits on";
    last->endSession();
    ASSERT_TRUE(threadsLeft(0));
    EXPECT_FALSE(isSignalledByACall());
}

TEST(Interceptor, SignalsNobodyUnderOtherStrategies) {
    for (const int strategy : {0, 1}) {
        RunningAgent agent(bySilence().with(strategy, true));
        const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
        Signals signals = Signals::whileWaiting(agent.listed(agent.nms()));
        emsSession::EmsSession_I::managerNames_T_var names;
        agent.overTheWire<emsSession::EmsSession_I>(session.in())
            ->getSupportedManagers(names.out());
        EXPECT_FALSE(signals.came()) << strategy;
    }
}

TEST(Interceptor, GivesTheRequestsThreadItsContext) {
    RunningAgent agent;
    NS_UTIL::ThreadContextInfo seen;
    int thread = 0;
    agent.manager().onCall = [&] {
        seen = NS_UTIL::ThreadContextMgr::Instance()->GetThreadContext();
        thread = static_cast<int>(pthread_self());
    };
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    common::CapabilityList_T_var capabilities;
    agent.remoteManager(session.in())->getCapabilities(capabilities.out());
    EXPECT_EQ(seen.GetInterfaceName(), "getCapabilities");
    EXPECT_EQ(seen.GetThreadID(), thread);
    EXPECT_EQ(seen.GetOperUUID(), "");
}

TEST(Interceptor, RefusesARequestWithoutInformationOrAddress) {
    RunningAgent agent(bySilence());
    Corba_Request_InterceptorImpl interceptor;
    const TraceCapture trace;
    NS_UTIL::ThreadContextInfo before;
    before.SetInterfaceName("before");
    before.SetOperUUID("before");
    NS_UTIL::ThreadContextMgr::Instance()->SetThreadContext(before);
    EXPECT_THROW(interceptor.receive_request(nullptr), CORBA::NO_PERMISSION);
    ASSERT_TRUE(trace.contains("[SetThreadContext] ri is null"));
    EXPECT_EQ(trace.records()[0].level, 1);
    EXPECT_TRUE(trace.contains(
        "[Server_Request_Interceptor::receive_request] No Permission Client! Peer IP:0.0.0.0"));
    const NS_UTIL::ThreadContextInfo after =
        NS_UTIL::ThreadContextMgr::Instance()->GetThreadContext();
    EXPECT_EQ(after.GetInterfaceName(), "");
    EXPECT_EQ(after.GetOperUUID(), "");
    EXPECT_EQ(after.GetThreadID(), static_cast<int>(pthread_self()));
    NS_UTIL::ThreadContextMgr::Instance()->ClearThreadContext();
}

TEST(Interceptor, LetsRequestsPassWithoutASessionManager) {
    RunningAgent agent(AgentOptions{.releaseStrategy = 2, .startsSessionMgr = false});
    SessionMgr::Destroy();
    const CORBA::String_var version = agent.remoteFactory()->getVersion();
    EXPECT_STREQ(version.in(), "3.5");
}

}  // namespace
