// The agent's stop: bounded even if threads hang, and harmless after any partial start.

#include <kelp/corbabase/ref_count.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <utility>

#include "adapter/session_source.h"
#include "agent_fixture.h"
#include "corbaenv/naming_monitor.h"
#include "naming_fixture.h"
#include "session/ems_session_impl.h"
#include "support/wait_until.h"

namespace kelp::test {
namespace {

using NS_KELPCORBA::AgentState;
using NS_KELPCORBA::CorbaAgentFacade;
using NS_KELPCORBA::SessionMgr;

class AgentStop : public AgentFixture {};

TEST_F(AgentStop, WithoutAStartDoesNothing) {
    CorbaAgentFacade::ExitThrds();
    CorbaAgentFacade::Fini();
    CorbaAgentFacade::ExitThrds();
    CorbaAgentFacade::Fini();
    expectNothingRuns();
}

TEST_F(AgentStop, MayBeRepeated) {
    configureAgent();
    ASSERT_TRUE(start());
    stop();
    CorbaAgentFacade::ExitThrds();
    CorbaAgentFacade::Fini();
    expectNothingRuns();
}

TEST_F(AgentStop, OfTheThreadsMayBeRepeated) {
    configureAgent();
    ASSERT_TRUE(start());
    CorbaAgentFacade::ExitThrds();
    stop();
    expectNothingRuns();
}

TEST_F(AgentStop, EndsTheThreadThatRunsTheOrb) {
    configureAgent();
    const auto threadsBefore = ACE_Thread_Manager::instance()->count_threads();
    ASSERT_TRUE(start());
    EXPECT_EQ(ACE_Thread_Manager::instance()->count_threads(), threadsBefore + 1);
    stop();
    EXPECT_TRUE(waitUntil(
        [&] { return ACE_Thread_Manager::instance()->count_threads() == threadsBefore; }));
}

TEST_F(AgentStop, SetsTheExitFlagForGood) {
    configureAgent();
    ASSERT_TRUE(start());
    EXPECT_FALSE(AgentState::instance().exitRequested);
    stop();
    EXPECT_TRUE(AgentState::instance().exitRequested);
}

TEST_F(AgentStop, RemovesTheEntryFromTheNamingService) {
    const OmniNames names;
    configureAgent("", names.port());
    ASSERT_TRUE(start());
    const FactoryEntry entry(names.corbaloc());
    ASSERT_TRUE(waitUntil([&] { return entry.isBound(); }));
    NS_KELPCORBA::CorbaAgentFacade::ExitThrds();
    EXPECT_EQ(AgentState::instance().threads.count_threads(), 0u);
    NS_KELPCORBA::CorbaAgentFacade::Fini();
    needsStop_ = false;
    BaseOrb later(withNamingPort(names.port()));
    EXPECT_FALSE(entry.isBound());
}

TEST_F(AgentStop, EndsTheMonitorThreadWithoutAnotherRound) {
    configureAgent("", freePort());
    ASSERT_TRUE(start());
    ASSERT_TRUE(trace_.waitFor(kSystemException));
    NS_KELPCORBA::CorbaAgentFacade::ExitThrds();
    EXPECT_EQ(AgentState::instance().threads.count_threads(), 0u);
    const std::size_t rounds = trace_.count("[Monitor Thread]");
    AgentState& state = AgentState::instance();
    // a thread started now finds the flag set
    NS_KELPCORBA::NamingMonitor::Run(nullptr);
    EXPECT_TRUE(state.exitRequested);
    EXPECT_EQ(trace_.count("[Monitor Thread]"), rounds);
}

TEST_F(AgentStop, IsBoundedWhileTheNamingServiceHangs) {
    const DeafListener hung;
    configureAgent("", hung.port());
    ASSERT_TRUE(start());
    ASSERT_TRUE(trace_.waitFor(std::string(kSystemException) + "TIMEOUT"));
    auto stopped = std::async(std::launch::async, [this] { stop(); });
    EXPECT_EQ(stopped.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    expectNothingRuns();
}

/// Runs on one of the agent's threads until released.
struct StuckThread {
    ~StuckThread() { go.set_value(); }
    static ACE_THR_FUNC_RETURN run(void* argument) {
        auto* self = static_cast<StuckThread*>(argument);
        self->going.wait();
        self->gone.set_value();
        return nullptr;
    }
    void release() {
        go.set_value();
        gone.get_future().wait();
        go = std::promise<void>();
    }
    std::promise<void> go;
    std::promise<void> gone;
    std::shared_future<void> going = go.get_future().share();
};

TEST_F(AgentStop, AbandonsAnAgentThreadThatDoesNotEndWithin15Seconds) {
    StuckThread stuck;
    ASSERT_NE(
        AgentState::instance().threads.spawn(&StuckThread::run, &stuck, THR_NEW_LWP | THR_DETACHED),
        -1);
    auto stopped = std::async(std::launch::async, [] { CorbaAgentFacade::ExitThrds(); });
    EXPECT_EQ(stopped.wait_for(std::chrono::seconds(60)), std::future_status::ready);
    EXPECT_EQ(AgentState::instance().threads.count_threads(), 1u);
    EXPECT_TRUE(trace_.contains("=== Finish to Exit Threads of Corba! ==="));
    stuck.release();
    EXPECT_TRUE(waitUntil([] { return AgentState::instance().threads.count_threads() == 0; }));
}

/// Checks whether the agent's stop continues while this thread still runs.
struct LateThread {
    static ACE_THR_FUNC_RETURN run(void* argument) {
        auto* self = static_cast<LateThread*>(argument);
        waitUntil([] { return AgentState::instance().exitRequested.load(); },
                  std::chrono::seconds(30));
        self->stopWentOn =
            waitUntil([self] { return !self->log.calls().empty(); }, std::chrono::seconds(1));
        return nullptr;
    }
    const CallLog& log;
    std::atomic<bool> stopWentOn{false};
};

TEST_F(AgentStop, ContinuesOnlyAfterTheAgentsThreadsHaveEnded) {
    enterInterface("First", 1);
    LateThread late{log_};
    ASSERT_NE(
        AgentState::instance().threads.spawn(&LateThread::run, &late, THR_NEW_LWP | THR_DETACHED),
        -1);
    CorbaAgentFacade::ExitThrds();
    EXPECT_THAT(log_.calls(), testing::ElementsAre("ExitThread First"));
    ASSERT_TRUE(waitUntil([] { return AgentState::instance().threads.count_threads() == 0; }));
    EXPECT_FALSE(late.stopWentOn);
}

/// A session whose waiting thread records how its wait ended. Only one exists at a time.
struct WaitingSession {
    using Counted = NS_CORBA::RefCount_OneParameter<NS_KELPCORBA::EmsSession_IImpl,
                                                    NS_KELPCORBA::SessionSource*>;

    WaitingSession() {
        asleep = std::promise<void>();
        end = std::promise<NS_KELPCORBA::WaitEnd>();
        ended = end.get_future();
        SessionMgr::Instance()->SpawnWaiting(session, &run);
        asleep.get_future().wait();
    }
    ~WaitingSession() {
        session->wakePoint().wake();
        session->_remove_ref();
    }
    bool hasEnded(std::chrono::seconds limit = std::chrono::seconds(0)) const {
        return ended.wait_for(limit) == std::future_status::ready;
    }

    static ACE_THR_FUNC_RETURN run(void* argument) {
        auto* itsSession = static_cast<NS_KELPCORBA::EmsSession_IImpl*>(argument);
        std::uint64_t seen = 0;
        bool told = false;
        const auto result = itsSession->wakePoint().wait(
            60, seen,
            [&told] {
                // the exit flag has been checked: from here on only a wake-up ends the wait
                if (!std::exchange(told, true))
                    asleep.set_value();
                return true;
            },
            [] { return true; });
        SessionMgr::Instance()->LeaveWaiting(itsSession);
        end.set_value(result);
        return nullptr;
    }

    static inline std::promise<void> asleep;
    static inline std::promise<NS_KELPCORBA::WaitEnd> end;
    NS_KELPCORBA::EmsSession_IImpl* session = new Counted(nullptr);
    std::future<NS_KELPCORBA::WaitEnd> ended;
};

TEST_F(AgentStop, UnderReleaseBySilenceWakesTheWaitingThreadsAndWaitsForThem) {
    configureAgent("release_strategy = 2\nping_mode = false");
    ASSERT_TRUE(start());
    WaitingSession waiting;
    CorbaAgentFacade::ExitThrds();
    ASSERT_TRUE(waiting.hasEnded());
    EXPECT_EQ(waiting.ended.get(), NS_KELPCORBA::WaitEnd::AgentExits);
}

TEST_F(AgentStop, UnderAnotherReleaseStrategyNeitherWakesWaitingThreadsNorWaitsForThem) {
    configureAgent("release_strategy = 1\nping_mode = false");
    ASSERT_TRUE(start());
    auto waiting = std::make_unique<WaitingSession>();
    const auto begin = std::chrono::steady_clock::now();
    CorbaAgentFacade::ExitThrds();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(15));
    EXPECT_FALSE(waiting->hasEnded());
    waiting->session->wakePoint().wake();
    EXPECT_TRUE(waiting->hasEnded(std::chrono::seconds(10)));
}

}  // namespace
}  // namespace kelp::test
