#include <ace/Thread_Manager.h>
#include <gtest/gtest.h>
#include <kelp/orb/timeouts.h>

#include <functional>
#include <thread>

#include "session_object.h"
#include "support/latch.h"
#include "support/tcp_peers.h"

namespace {

using namespace kelp::test;
using namespace std::chrono_literals;
using kelp::orb::ScopedThreadTimeout;
using kelp::orb::setProcessTimeout;
using kelp::orb::setThreadTimeout;
using Milliseconds = std::chrono::milliseconds;

/// The outcome of a call as text, and its duration.
struct Outcome {
    std::string text;
    Milliseconds elapsed{0};
};

Outcome callOf(const RunningOrb& orb, const std::string& corbaloc) {
    const CORBA::Object_var object = kelp::orb::toReference(orb.orb(), corbaloc);
    const auto begin = std::chrono::steady_clock::now();
    Outcome outcome;
    try {
        outcome.text = object->_non_existent() ? "not there" : "alive";
    } catch (const CORBA::SystemException& ex) {
        outcome.text = ex._name();
    }
    outcome.elapsed =
        std::chrono::duration_cast<Milliseconds>(std::chrono::steady_clock::now() - begin);
    return outcome;
}

void inStdThread(const std::function<void()>& work) {
    std::thread(work).join();
}

void inAceThread(const std::function<void()>& work) {
    struct Entry {
        static ACE_THR_FUNC_RETURN run(void* argument) {
            (*static_cast<const std::function<void()>*>(argument))();
            return nullptr;
        }
    };
    ACE_Thread_Manager manager;
    ASSERT_NE(manager.spawn(&Entry::run, const_cast<std::function<void()>*>(&work)), -1);
    manager.wait();
}

class Timeouts : public testing::Test {
  protected:
    RunningOrb orb_;
    DeafListener deaf_;
};

TEST_F(Timeouts, EndACallToAPeerThatNeverAnswersOnAStdThread) {
    inStdThread([this] {
        EXPECT_TRUE(setThreadTimeout(150ms));
        const Outcome outcome = callOf(orb_, deaf_.corbaloc());
        EXPECT_EQ(outcome.text, "TIMEOUT");
        EXPECT_GE(outcome.elapsed, 140ms);
    });
}

TEST_F(Timeouts, EndACallToAPeerThatNeverAnswersOnAnAceThread) {
    inAceThread([this] {
        EXPECT_TRUE(setThreadTimeout(150ms));
        const Outcome outcome = callOf(orb_, deaf_.corbaloc());
        EXPECT_EQ(outcome.text, "TIMEOUT");
        EXPECT_GE(outcome.elapsed, 140ms);
    });
}

TEST_F(Timeouts, EndACallOnAThreadOfTheOrb) {
    std::string seen;
    SessionObject session(orb_, [&] {
        EXPECT_TRUE(setThreadTimeout(150ms));
        seen = callOf(orb_, deaf_.corbaloc()).text;
    });
    session.remote()->ping();
    EXPECT_EQ(seen, "TIMEOUT");
}

TEST_F(Timeouts, EndACallWhoseConnectionIsNotAnswered) {
    const FullBacklogListener busy;
    inAceThread([&] {
        setThreadTimeout(150ms);
        EXPECT_EQ(callOf(orb_, busy.corbaloc()).text, "TIMEOUT");
    });
}

TEST_F(Timeouts, DoNotDelayTheRefusalOfAClosedPort) {
    setThreadTimeout(60s);
    EXPECT_EQ(
        callOf(orb_, "corbaloc:iiop:1.2@127.0.0.1:" + std::to_string(freePort()) + "/Object").text,
        "TRANSIENT");
}

TEST_F(Timeouts, OfAThreadBelongToThatThreadAlone) {
    setThreadTimeout(100ms);
    Latch gate;
    SessionObject session(orb_, [&] { gate.pass(); });
    // the other thread's call continues after this thread's limit
    std::thread other([&] { EXPECT_NO_THROW(session.remote()->ping()); });
    EXPECT_TRUE(gate.isReached());
    EXPECT_EQ(callOf(orb_, deaf_.corbaloc()).text, "TIMEOUT");
    gate.open();
    other.join();
}

TEST_F(Timeouts, OfTheProcessHoldWhereAThreadHasNone) {
    EXPECT_TRUE(setProcessTimeout(150ms));
    inStdThread([this] { EXPECT_EQ(callOf(orb_, deaf_.corbaloc()).text, "TIMEOUT"); });
    inStdThread([this] {
        setThreadTimeout(50ms);
        setThreadTimeout(0ms);
        const Outcome outcome = callOf(orb_, deaf_.corbaloc());
        EXPECT_EQ(outcome.text, "TIMEOUT");
        EXPECT_GE(outcome.elapsed, 140ms);
    });
    EXPECT_TRUE(setProcessTimeout(0ms));
}

TEST_F(Timeouts, OfAThreadOverrideThatOfTheProcess) {
    setProcessTimeout(60s);
    setThreadTimeout(100ms);
    EXPECT_EQ(callOf(orb_, deaf_.corbaloc()).text, "TIMEOUT");
}

TEST_F(Timeouts, OfAScopeRestoreTheOnesBefore) {
    EXPECT_TRUE(setThreadTimeout(400ms));
    {
        const ScopedThreadTimeout scope(50ms);
        {
            const ScopedThreadTimeout inner(200ms);
            EXPECT_GE(callOf(orb_, deaf_.corbaloc()).elapsed, 190ms);
        }
        {
            // if this limit remained, the test would not end in time
            const ScopedThreadTimeout inner(1h);
        }
        EXPECT_EQ(callOf(orb_, deaf_.corbaloc()).text, "TIMEOUT");
    }
    const Outcome after = callOf(orb_, deaf_.corbaloc());
    EXPECT_EQ(after.text, "TIMEOUT");
    EXPECT_GE(after.elapsed, 390ms);
}

TEST_F(Timeouts, ThatHaveRunOutFailCallsAndDoNotLetThemHang) {
    EXPECT_TRUE(setThreadTimeout(-5ms));
    EXPECT_EQ(callOf(orb_, deaf_.corbaloc()).text, "TIMEOUT");
}

TEST_F(Timeouts, ReachAPeerAgainOnceItAnswers) {
    Latch gate;
    SessionObject session(orb_, [&] { gate.pass(); });
    setThreadTimeout(100ms);
    EXPECT_THROW(session.remote()->ping(), CORBA::TIMEOUT);
    gate.open();
    setThreadTimeout(20s);
    EXPECT_NO_THROW(session.remote()->ping());
}

TEST(TimeoutsWithoutAnOrb, CanBeSetForAThreadOnlyOnceTheOrbRuns) {
    EXPECT_FALSE(setThreadTimeout(100ms));
    const RunningOrb orb;
    const DeafListener deaf;
    EXPECT_TRUE(setThreadTimeout(100ms));
    EXPECT_EQ(callOf(orb, deaf.corbaloc()).text, "TIMEOUT");
}

}  // namespace
