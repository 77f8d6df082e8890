// A log-in leaves nothing half made if memory, a lock or the ORB fails meanwhile.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/orb/poas.h>

#include <cerrno>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "adapter/claimed_poa_names.h"
#include "adapter/session_source.h"
#include "faults.h"
#include "support/agent_fixture.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

class LogInFaults : public testing::Test {
  protected:
    /// Log in once with the fault in place.
    template <class Fault>
    bool happensDuringLogIn(int nth, unsigned long& code) {
        const Fault fault(nth);
        code = refusalOf([&] { agent_.logIn(agent_.nms()); });
        return fault.hasHappened();
    }
    void expectNothingLeft() {
        EXPECT_EQ(agent_.sessions().SessionCount(), 0u);
        EXPECT_EQ(agent_.liveLogins(agent_.nms()), 0u);
    }
    void expectWholeSession() {
        EXPECT_EQ(agent_.sessions().SessionCount(), 1u);
        EXPECT_EQ(agent_.liveLogins(agent_.nms()), 1u);
    }
    /// End the session that a log-in has created, and wait until its name is free.
    void endSession() {
        if (const auto session = ServantRef<EmsSession_IImpl>::take(
                agent_.sessions().GetNmsSession(agent_.nms().hostInfo(), "admin")))
            session->endSession();
        const std::string name = sessionNameText("admin", agent_.nms().hostInfo());
        EXPECT_TRUE(waitUntil([&] { return !kelp::orb::isNameDying(name); }));
        EXPECT_THROW(PortableServer::POA_var(agent_.root()->find_POA(name.c_str(), false)),
                     PortableServer::POA::AdapterNonExistent);
    }
    std::string failed(const std::string& what) {
        return "[EmsSessionFactory_IImpl::getEmsSession] " + what + " for NMS-<" +
               agent_.nms().hostInfo() + "> Failed!";
    }

    RunningAgent agent_;
};

TEST_F(LogInFaults, OfMemoryAreRefusedAndUndone) {
    const std::vector<std::string> refusals = {
        failed("Create Session Source"),
        failed("Create EMSSession"),
        "[SessionSource::SetServantLocator] Call TAServantLocator::create() failed",
        "[SessionSource::SetServantIterator] IteratorServantActivator::create() failed",
    };
    std::set<std::string> seen;
    for (int nth = 1;; ++nth) {
        ASSERT_LT(nth, 100);
        SCOPED_TRACE(nth);
        const TraceCapture trace;
        unsigned long code = 0;
        const bool happened = happensDuringLogIn<FailingAllocation>(nth, code);
        std::size_t texts = 0;
        for (const std::string& text : refusals) {
            if (trace.contains(text)) {
                seen.insert(text);
                ++texts;
            }
        }
        if (!happened) {
            EXPECT_EQ(code, 0ul);
            EXPECT_EQ(texts, 0u);
            expectWholeSession();
            break;
        }
        if (texts > 0) {
            EXPECT_EQ(code, 0x411800BAul);
        }
        if (code == 0)
            expectWholeSession();
        else
            expectNothingLeft();
        endSession();
    }
    EXPECT_EQ(seen, std::set<std::string>(refusals.begin(), refusals.end()));
}

/// Each allocation of a log-in fails once. The log-in leaves a complete session or nothing.
class LogInWithoutMemory : public testing::TestWithParam<AgentOptions> {
  protected:
    /// Log in once without faults. The ORB's stubs create their nil references on first use; if
    /// memory for one is missing then, they keep a lock.
    void SetUp() override {
        agent_.logIn(nms_);
        endSession();
    }
    /// False if the log-in has fewer than `nth` allocations.
    bool failsDuringLogIn(int nth) {
        const FailingNew fault(nth);
        try {
            agent_.logIn(nms_);
        } catch (const CORBA::Exception&) {
            // the log-in was refused
        } catch (const std::bad_alloc&) {
            // nothing had been created yet
        }
        return fault.hasHappened();
    }
    void expectWholeOrNothing() {
        const std::size_t sessions = agent_.sessions().SessionCount();
        EXPECT_LE(sessions, 1u);
        EXPECT_EQ(agent_.liveLogins(nms_), sessions);
        if (sessions == 0) {
            EXPECT_TRUE(waitUntil([&] { return ClaimedPoaNames::isFree(name_); }))
                << "the name stays reserved";
            EXPECT_THROW(PortableServer::POA_var(agent_.root()->find_POA(name_.c_str(), false)),
                         PortableServer::POA::AdapterNonExistent);
            EXPECT_TRUE(waitUntil([&] { return !agent_.sessions().IsAnybodyWaiting(); }));
        } else {
            EXPECT_EQ(agent_.listed(nms_)->source()->get_state(), Normal);
        }
    }
    void endSession() {
        if (const auto session = ServantRef<EmsSession_IImpl>::take(
                agent_.sessions().GetNmsSession(nms_.hostInfo(), "admin")))
            session->endSession();
        EXPECT_TRUE(waitUntil([&] { return ClaimedPoaNames::isFree(name_); }));
        EXPECT_EQ(agent_.liveLogins(nms_), 0u);
    }

    static constexpr int kMostAllocations = 5000;
    RunningAgent agent_{GetParam()};
    const TestNms& nms_{agent_.nms()};
    const std::string name_ = sessionNameText("admin", nms_.hostInfo());
};

TEST_P(LogInWithoutMemory, LeavesNothingBehind) {
    for (int nth = 1; failsDuringLogIn(nth); ++nth) {
        SCOPED_TRACE(nth);
        ASSERT_LT(nth, kMostAllocations);
        ASSERT_NO_FATAL_FAILURE(expectWholeOrNothing());
        endSession();
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_EQ(agent_.sessions().SessionCount(), 1u);
    endSession();
}

TEST_P(LogInWithoutMemory, LeavesNothingOfTheSessionItReplaces) {
    for (int nth = 1;; ++nth) {
        SCOPED_TRACE(nth);
        ASSERT_LT(nth, kMostAllocations);
        agent_.logIn(nms_);
        const bool hasFailed = failsDuringLogIn(nth);
        expectWholeOrNothing();
        endSession();
        ASSERT_FALSE(HasFailure());
        if (!hasFailed)
            break;
    }
}

INSTANTIATE_TEST_SUITE_P(Strategies, LogInWithoutMemory,
                         testing::Values(AgentOptions().with(0, true),
                                         AgentOptions().with(1, false),
                                         AgentOptions().with(2, false)));

TEST(LogInWithoutAThread, IsRefusedWhenItNeedsAWaitingThread) {
    RunningAgent agent(AgentOptions().with(2, false));
    const TestNms& nms = agent.nms();
    {
        const NoThreads fault;
        EXPECT_EQ(refusalOf([&] { agent.logIn(nms); }), 0x411800BAul);
    }
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
    EXPECT_EQ(agent.liveLogins(nms), 0u);
    EXPECT_FALSE(agent.sessions().IsAnybodyWaiting());
    const std::string name = sessionNameText("admin", nms.hostInfo());
    EXPECT_TRUE(waitUntil([&] { return ClaimedPoaNames::isFree(name); }));
    agent.logIn(nms);
    EXPECT_EQ(agent.sessions().SessionCount(), 1u);
}

TEST_F(LogInFaults, OfTheServantManagersFailTheWholeInitialisation) {
    for (const char* text :
         {"[SessionSource::SetServantLocator] Call TAServantLocator::create() failed",
          "[SessionSource::SetServantIterator] IteratorServantActivator::create() failed"}) {
        bool wasSeen = false;
        for (int nth = 1; nth < 100 && !wasSeen; ++nth) {
            const TraceCapture trace;
            unsigned long code = 0;
            happensDuringLogIn<FailingAllocation>(nth, code);
            wasSeen = trace.contains(text);
            if (wasSeen) {
                EXPECT_TRUE(trace.contains(failed("Initialize Session Source")));
                EXPECT_TRUE(trace.contains(
                    "[SessionSource::init] create_session_poa returned a nil POA object!"));
                EXPECT_EQ(trace.lines().back(), failed("Initialize Session Source"));
            }
            endSession();
        }
        EXPECT_TRUE(wasSeen) << text;
    }
}

TEST_F(LogInFaults, OfLocksAreRefusedAndUndone) {
    bool listFailed = false;
    for (int nth = 1;; ++nth) {
        ASSERT_LT(nth, 100);
        SCOPED_TRACE(nth);
        const TraceCapture trace;
        unsigned long code = 0;
        if (!happensDuringLogIn<FailingWriteLock>(nth, code)) {
            EXPECT_EQ(code, 0ul);
            expectWholeSession();
            break;
        }
        if (trace.contains("[SessionMgr::add_emsSession] Add new session failed!")) {
            listFailed = true;
            EXPECT_EQ(code, 0x411800BEul);
            EXPECT_EQ(trace.lines().back(), failed("Add EMSSession"));
        } else {
            // the log-in succeeds without that lock
            EXPECT_EQ(code, 0ul);
        }
        if (code == 0)
            expectWholeSession();
        else
            expectNothingLeft();
        endSession();
    }
    EXPECT_TRUE(listFailed);
}

TEST_F(LogInFaults, LeaveASessionUsableWhenItsLocksFail) {
    agent_.logIn(agent_.nms());
    const auto session = agent_.listed(agent_.nms());
    for (int nth = 1; nth < 6; ++nth) {
        const FailingWriteLock fault(nth);
        errno = 0;
        session->source()->set_state(SilentWaiting);
        EXPECT_EQ(session->source()->get_state(), SilentWaiting);
        session->source()->set_state(Normal);
        EXPECT_EQ(session->source()->get_state(), Normal);
        EXPECT_TRUE(agent_.sessions().isAdminAlreadyLoginIn("admin"));
        EXPECT_EQ(errno, EDEADLK);
        EXPECT_TRUE(fault.hasHappened());
    }
}

TEST_F(LogInFaults, OfTheRequestsLockLeaveTheSessionsUnsignalled) {
    std::vector<ServantRef<EmsSession_IImpl>> sessions;
    agent_.logIn(agent_.nms());
    const std::string key = "admin" + agent_.nms().hostInfo();
    {
        const FailingWriteLock fault(1);
        EXPECT_FALSE(agent_.sessions().PinSessionsByClientKey(key, sessions));
    }
    EXPECT_TRUE(sessions.empty());
    EXPECT_TRUE(agent_.sessions().PinSessionsByClientKey(key, sessions));
    EXPECT_EQ(sessions.size(), 1u);
}

TEST_F(LogInFaults, OfTheRootPoaAreRefusedAndUndone) {
    const TraceCapture trace;
    const TestNms& nms = agent_.nms();
    BaseConfigFaults::hasNoRootPoa = true;
    const unsigned long code = refusalOf([&] { agent_.logIn(nms); });
    BaseConfigFaults::hasNoRootPoa = false;
    EXPECT_EQ(code, 0x411800BAul);
    EXPECT_TRUE(
        trace.contains("[create_ServantLocator_poa] exception for input parameter is null!"));
    EXPECT_TRUE(trace.contains(
        "[SessionSource::init] create_ServantLocator_poa returned a nil POA object!"));
    expectNothingLeft();
    agent_.logIn(nms);
    expectWholeSession();
}

TEST(SessionLimit, OfZeroOrLessMarksTheNewSessionAsWell) {
    for (const int limit : {0, -1}) {
        RunningAgent agent(AgentOptions{.releaseStrategy = 1, .pingMode = false});
        BaseConfigFaults::maxSession = limit;
        agent.logIn(agent.nms(1));
        EXPECT_EQ(agent.listed(agent.nms(1))->source()->get_state(), Ended);
        agent.logIn(agent.nms(2));
        EXPECT_EQ(agent.listed(agent.nms(2))->source()->get_state(), Ended);
        BaseConfigFaults::maxSession.reset();
    }
}

}  // namespace
