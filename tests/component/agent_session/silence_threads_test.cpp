// Release strategy 2: threads that wait for a sign of life of an NMS.

#include "session/silence_threads.h"

#include <gtest/gtest.h>
#include <kelp/corbabase/ref_count.h>

#include <filesystem>
#include <thread>

#include "adapter/session_source.h"
#include "support/agent_fixture.h"
#include "support/threads_asleep.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;
using namespace std::chrono_literals;

constexpr const char* kExitLine = "[SilentWaiting:] Detection Thread now Exit!!\n";
constexpr int kForEver = 86400;

/// Poll while making calls. True if `condition` holds within the time.
template <class Call, class Condition>
bool comesTrueDuringCalls(std::chrono::milliseconds time, Call call, Condition condition) {
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end) {
        call();
        if (waitUntil(condition, 300ms))
            return true;
    }
    return false;
}

// -- without pings: theWaiting

AgentOptions withoutPings(int silentTimeS) {
    return AgentOptions{.releaseStrategy = 2, .pingMode = false, .silentTimeS = silentTimeS};
}

class TheWaiting : public testing::Test {
  protected:
    void start(const AgentOptions& options) {
        agent_ = std::make_unique<RunningAgent>(options);
        reference_ = agent_->logIn(agent_->nms());
        session_ = agent_->listed(agent_->nms());
        remote_ = agent_->overTheWire<emsSession::EmsSession_I>(reference_.in());
        ASSERT_TRUE(waitUntil(allOthersSleep));
    }
    bool isOver() const { return agent_->liveLogins(agent_->nms()) == 0; }
    static bool hasLeft(EmsSession_IImpl& session) {
        return waitUntil([&] { return session.waitingThread() == 0; });
    }
    bool isAnybodyWaiting() const { return agent_->sessions().IsAnybodyWaiting(); }
    bool nobodyWaitsAnyMore() const {
        return waitUntil([&] { return !isAnybodyWaiting(); });
    }
    ~TheWaiting() override {
        session_.reset();
        reference_ = emsSession::EmsSession_I::_nil();
        agent_.reset();
    }

    std::unique_ptr<RunningAgent> agent_;
    emsSession::EmsSession_I_var reference_;
    emsSession::EmsSession_I_var remote_;
    ServantRef<EmsSession_IImpl> session_;
};

TEST_F(TheWaiting, EndsTheSessionOfASilentNms) {
    start(withoutPings(3));
    EXPECT_NE(session_->waitingThread(), 0u);
    EXPECT_EQ(session_->_refcount_value(), 4u) << "list, POA, waiting thread and this test";
    const TraceCapture trace;
    ASSERT_TRUE(waitUntil([&] { return isOver(); }));
    EXPECT_EQ(session_->source()->get_state(), Ended);
    EXPECT_TRUE(
        trace.contains("[theWaiting] Waiting for NMS invoke time out, session will be destroyed!"));
    EXPECT_TRUE(waitUntil([&] { return isGone([&] { remote_->ping(); }); }));
    EXPECT_TRUE(hasLeft(*session_));
    EXPECT_EQ(agent_->nms()->pings, 0);
    EXPECT_EQ(agent_->nms()->ends, 0);
}

TEST_F(TheWaiting, StartsOverWithEveryCallOfTheNms) {
    start(withoutPings(3));
    const common::Common_I_var manager = agent_->remoteManager(reference_.in());
    EXPECT_FALSE(comesTrueDuringCalls(
        5s,
        [&] {
            common::CapabilityList_T_var capabilities;
            manager->getCapabilities(capabilities.out());
        },
        [&] { return isOver(); }));
    EXPECT_TRUE(waitUntil([&] { return isOver(); })) << "silent now";
}

TEST_F(TheWaiting, DoesNotCountPingsOfTheNms) {
    start(withoutPings(3));
    EXPECT_TRUE(comesTrueDuringCalls(
        10s,
        [&] {
            try {
                remote_->ping();
            } catch (const CORBA::SystemException&) {
                // the session is over
            }
        },
        [&] { return isOver(); }));
}

TEST_F(TheWaiting, LeavesWhenTheNmsEndsItsSession) {
    start(withoutPings(kForEver));
    remote_->endSession();
    EXPECT_TRUE(hasLeft(*session_));
    EXPECT_EQ(session_->source()->get_state(), Ended);
}

TEST_F(TheWaiting, LeavesWhenAnotherLogInReplacesTheSession) {
    start(withoutPings(kForEver));
    const emsSession::EmsSession_I_var again = agent_->logIn(agent_->nms());
    EXPECT_TRUE(hasLeft(*session_));
    EXPECT_NE(agent_->listed(agent_->nms())->waitingThread(), 0u);
    again->ping();
}

TEST_F(TheWaiting, LeavesWhenTheUserBecomesInvalid) {
    start(withoutPings(kForEver));
    const std::string& hostInfo = agent_->nms().hostInfo();
    const std::size_t colon = hostInfo.find(':');
    NS_BUNDLEMGR1::LightEventMgr::Instance()->Raise(119, {{{"IP", hostInfo.substr(0, colon)},
                                                           {"PORT", hostInfo.substr(colon + 1)},
                                                           {"USN", "admin"}}});
    EXPECT_TRUE(hasLeft(*session_));
}

TEST_F(TheWaiting, LeavesWhenARoundEndsTheSession) {
    start(AgentOptions{
        .releaseStrategy = 2, .pingMode = false, .pingIntervalS = 1, .silentTimeS = kForEver});
    // as the session limit does
    session_->source()->set_state(Ended);
    EXPECT_TRUE(hasLeft(*session_));
}

TEST_F(TheWaiting, LeavesAtTheAgentsStopAndLeavesTheSessionToIt) {
    start(withoutPings(kForEver));
    agent_->requestExit();
    EXPECT_TRUE(agent_->waitingThreadsLeave());
    EXPECT_EQ(session_->source()->get_state(), Normal);
    EXPECT_EQ(agent_->liveLogins(agent_->nms()), 1u);
    agent_->endSessions();
    EXPECT_EQ(agent_->liveLogins(agent_->nms()), 0u);
}

TEST_F(TheWaiting, LeavesAtTheStopEvenWhenItsSessionIsUnlisted) {
    start(withoutPings(kForEver));
    const auto unlisted = ServantRef<EmsSession_IImpl>::take(
        agent_->sessions().GetNmsSession(agent_->nms().hostInfo(), "admin"));
    ASSERT_TRUE(unlisted);
    agent_->requestExit();
    EXPECT_TRUE(agent_->waitingThreadsLeave());
    unlisted->endSession();
}

TEST_F(TheWaiting, ContinuesInAReusedSession) {
    start(withoutPings(3).withReuse());
    const std::uint32_t thread = session_->waitingThread();
    agent_->logIn(agent_->nms());
    EXPECT_EQ(session_->waitingThread(), thread);
    EXPECT_EQ(agent_->sessions().WaitingThreads().count_threads(), 1u);
    EXPECT_TRUE(waitUntil([&] { return isOver(); }));
}

TEST_F(TheWaiting, IsNotStartedUnderOtherStrategies) {
    for (const AgentOptions& options :
         {AgentOptions().with(0, false), AgentOptions().with(1, false),
          AgentOptions().with(2, true)}) {
        RunningAgent agent(options);
        agent.logIn(agent.nms());
        EXPECT_EQ(agent.listed(agent.nms())->waitingThread(), 0u);
        EXPECT_EQ(agent.sessions().WaitingThreads().count_threads(), 0u);
    }
}

TEST_F(TheWaiting, IsKnownUntilTheSilenceIsOver) {
    start(withoutPings(3));
    EXPECT_TRUE(waitUntil([&] { return isOver(); }));
    EXPECT_TRUE(nobodyWaitsAnyMore());
}

TEST_F(TheWaiting, IsKnownUntilTheSessionEnds) {
    start(withoutPings(kForEver));
    EXPECT_TRUE(isAnybodyWaiting());
    const common::Common_I_var manager = agent_->remoteManager(reference_.in());
    common::CapabilityList_T_var capabilities;
    manager->getCapabilities(capabilities.out());
    EXPECT_TRUE(isAnybodyWaiting()) << "it has begun anew";
    remote_->endSession();
    EXPECT_TRUE(nobodyWaitsAnyMore());
}

TEST_F(TheWaiting, IsKnownUntilTheAgentsStop) {
    start(withoutPings(kForEver));
    agent_->logIn(agent_->nms(2));
    EXPECT_TRUE(isAnybodyWaiting());
    agent_->requestExit();
    EXPECT_TRUE(agent_->waitingThreadsLeave());
    EXPECT_FALSE(isAnybodyWaiting());
}

// -- with pings: SilentWaiting

class SilentWait : public TheWaiting {
  protected:
    static AgentOptions withPings(int silentTimeS) {
        return AgentOptions{
            .releaseStrategy = 2, .pingMode = true, .pingIntervalS = 1, .silentTimeS = silentTimeS};
    }
    /// Let the NMS refuse pings until four have failed.
    void loseNms() {
        agent_->nms()->answer = NmsServant::Answer::Refuse;
        while (session_->source()->get_ping_failures() < 4)
            session_->source()->check_valid(true, "", "", true);
    }
    void startAndLoseNms(const AgentOptions& options) {
        start(options);
        loseNms();
        ASSERT_TRUE(waitUntil([&] { return session_->waitingThread() != 0; }));
        ASSERT_EQ(session_->source()->get_state(), SilentWaiting);
        ASSERT_TRUE(waitUntil(allOthersSleep));
    }
    std::string host() const { return agent_->nms().hostInfo(); }
};

TEST_F(SilentWait, EndsTheSessionAfterTheSilentTime) {
    start(withPings(3));
    const TraceCapture trace;
    testing::internal::CaptureStdout();
    loseNms();
    ASSERT_TRUE(trace.waitFor("[SilentWaiting:] Waiting for Invoking from: " + host() + "."));
    EXPECT_TRUE(session_->source()->get_silent_waiting());
    EXPECT_EQ(session_->source()->get_state(), SilentWaiting);
    EXPECT_TRUE(
        trace.contains("[SessionMgr::svc]user<admin>,ip<" + host() +
                       ">,Ping 3 times failed, now start a new thread to wait for OSS responce "
                       "silently."));
    const int pings = agent_->nms()->pings;
    EXPECT_TRUE(waitUntil([&] { return agent_->nms()->pings > pings; })) << "it is still pinged";
    EXPECT_EQ(agent_->liveLogins(agent_->nms()), 1u);

    ASSERT_TRUE(waitUntil([&] { return isOver(); }));
    EXPECT_TRUE(trace.contains("[SilentWaiting] Exceed silent waiting period, now session " +
                               host() + " will be destroyed"));
    EXPECT_EQ(session_->source()->get_state(), Ended);
    EXPECT_TRUE(hasLeft(*session_));
    EXPECT_TRUE(waitUntil([&] { return agent_->sessions().SessionCount() == 0; }));
    EXPECT_TRUE(agent_->waitingThreadsLeave());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kExitLine);
    EXPECT_EQ(trace.count("[SilentWaiting:] Waiting for Invoking from:"), 1u)
        << "one thread for one silence";
}

TEST_F(SilentWait, EndsWhenThePingsAreAnsweredAgain) {
    startAndLoseNms(withPings(kForEver));
    const TraceCapture trace;
    testing::internal::CaptureStdout();
    agent_->nms()->answer = NmsServant::Answer::Normally;
    ASSERT_TRUE(trace.waitFor("[SessionMgr::svc]user<admin>,ip<" + host() +
                              ">,Ping OSS succeeded, Now END waiting."));
    EXPECT_TRUE(hasLeft(*session_));
    EXPECT_EQ(session_->source()->get_state(), Normal);
    EXPECT_FALSE(session_->source()->get_silent_waiting());
    EXPECT_TRUE(agent_->waitingThreadsLeave());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kExitLine);
    remote_->ping();
}

TEST_F(SilentWait, StartsOverWithEveryCallOfTheNms) {
    startAndLoseNms(withPings(3));
    // not through requests: only the session's own signals count here
    EXPECT_FALSE(comesTrueDuringCalls(
        4s,
        [&] {
            common::Common_I_var manager;
            session_->getManager("EMS", manager.out());
        },
        [&] { return isOver(); }));
    EXPECT_FALSE(comesTrueDuringCalls(
        4s,
        [&] {
            emsSession::EmsSession_I::managerNames_T_var names;
            session_->getSupportedManagers(names.out());
        },
        [&] { return isOver(); }));
    EXPECT_EQ(session_->source()->get_state(), SilentWaiting);
    // an NMS that calls getManager during the silent period keeps its session
    const TraceCapture trace;
    agent_->nms()->answer = NmsServant::Answer::Normally;
    EXPECT_TRUE(trace.waitFor("Ping OSS succeeded"));
    EXPECT_TRUE(waitUntil([&] { return session_->source()->get_state() == Normal; }));
}

TEST_F(SilentWait, EndsWhenTheNmsLogsInAgainAndReusesItsSession) {
    startAndLoseNms(withPings(kForEver).withReuse());
    const emsSession::EmsSession_I_var again = agent_->logIn(agent_->nms());
    EXPECT_TRUE(again->_is_equivalent(reference_.in()));
    EXPECT_TRUE(hasLeft(*session_));
    EXPECT_EQ(session_->source()->get_state(), Normal);
    EXPECT_FALSE(session_->source()->get_silent_waiting()) << "the thread clears its own flag";
    EXPECT_EQ(agent_->liveLogins(agent_->nms()), 1u);

    // the NMS still answers no ping: a new silence gets a new thread
    EXPECT_TRUE(waitUntil([&] { return session_->source()->get_silent_waiting(); }));
    EXPECT_TRUE(waitUntil([&] { return session_->waitingThread() != 0; }));
}

TEST_F(SilentWait, IsKnownFromTheLossOfTheNmsUntilThePingsAreAnsweredAgain) {
    start(withPings(kForEver));
    EXPECT_FALSE(isAnybodyWaiting());
    loseNms();
    EXPECT_TRUE(waitUntil([&] { return isAnybodyWaiting(); }));
    agent_->nms()->answer = NmsServant::Answer::Normally;
    EXPECT_TRUE(nobodyWaitsAnyMore());
}

TEST_F(SilentWait, IsKnownUntilTheSilentTimeIsOver) {
    start(withPings(3));
    loseNms();
    EXPECT_TRUE(waitUntil([&] { return isAnybodyWaiting(); }));
    EXPECT_TRUE(waitUntil([&] { return isOver(); }));
    EXPECT_TRUE(nobodyWaitsAnyMore());
}

TEST_F(SilentWait, LeavesWhenTheNmsEndsItsSession) {
    startAndLoseNms(withPings(kForEver));
    remote_->endSession();
    EXPECT_TRUE(hasLeft(*session_));
    EXPECT_TRUE(waitUntil([&] { return isOver(); }));
    EXPECT_TRUE(waitUntil([&] { return agent_->sessions().SessionCount() == 0; }));
}

TEST_F(SilentWait, LeavesWhenAnotherLogInReplacesTheSession) {
    startAndLoseNms(withPings(kForEver));
    agent_->logIn(agent_->nms());
    EXPECT_TRUE(hasLeft(*session_));
    EXPECT_EQ(session_->source()->get_state(), Ended);
}

TEST_F(SilentWait, LeavesSilentlyAtTheAgentsStop) {
    startAndLoseNms(withPings(kForEver));
    testing::internal::CaptureStdout();
    agent_->requestExit();
    EXPECT_TRUE(agent_->waitingThreadsLeave());
    agent_->endSessions();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(agent_->sessions().SessionCount(), 0u);
    EXPECT_TRUE(isOver());
}

TEST_F(SilentWait, NeedsASessionWithASource) {
    RunningAgent agent;
    const TraceCapture trace;
    SilentWaitingThread(nullptr);
    EXPECT_TRUE(trace.contains("[SilentWaiting]pEmsSession is null, thread return now."));
    const auto session = ServantRef<EmsSession_IImpl>::take(
        new NS_CORBA::RefCount_OneParameter<EmsSession_IImpl, SessionSource*>(nullptr));
    ASSERT_TRUE(agent.sessions().SpawnWaiting(session.get(), SilentWaitingThread));
    EXPECT_TRUE(trace.waitFor("[SilentWaiting]GetSessionSource is null, thread return now."));
    EXPECT_TRUE(agent.waitingThreadsLeave());
    EXPECT_TRUE(waitUntil([&] { return session->_refcount_value() == 1; }))
        << "the thread's reference";
}

// -- many

std::size_t threadsOfThisProcess() {
    const std::filesystem::directory_iterator begin("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin, std::filesystem::directory_iterator()));
}

TEST(ManySessions, LeaveNoThreadBehind) {
    RunningAgent agent(withoutPings(kForEver));
    const auto logInAndOut = [&](int times) {
        for (int i = 0; i < times; ++i) {
            const emsSession::EmsSession_I_var session =
                agent.logIn(agent.nms(1 + static_cast<unsigned>(i % 20)));
            session->endSession();
        }
    };
    logInAndOut(40);
    ASSERT_TRUE(waitUntil([&] { return agent.sessions().WaitingThreads().count_threads() == 0; }));
    const std::size_t before = threadsOfThisProcess();
    logInAndOut(1000);
    EXPECT_TRUE(waitUntil([&] { return agent.sessions().WaitingThreads().count_threads() == 0; }));
    // the number of the ORB's threads varies
    EXPECT_TRUE(waitUntil([&] { return threadsOfThisProcess() <= before + 3; }, 30s))
        << threadsOfThisProcess() << " threads after, " << before << " before";
    for (unsigned i = 1; i <= 20; ++i)
        EXPECT_EQ(agent.liveLogins(agent.nms(i)), 0u);
}

TEST(ManySessions, WaitConcurrentlyAndAllLeaveAtTheStop) {
    RunningAgent agent(withoutPings(kForEver));
    for (unsigned i = 1; i <= 100; ++i)
        agent.logIn(agent.nms(i));
    EXPECT_EQ(agent.sessions().WaitingThreads().count_threads(), 100u);
    agent.requestExit();
    EXPECT_TRUE(agent.waitingThreadsLeave());
    EXPECT_EQ(agent.sessions().WaitingThreads().count_threads(), 0u);
}

}  // namespace
