// The checks of one round run concurrently: NMS that hang do not delay the others.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "adapter/session_source.h"
#include "support/agent_fixture.h"
#include "support/latch.h"
#include "support/tcp_peers.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;
using namespace std::chrono_literals;

constexpr const char* kFailedPing =
    "[SessionSource::check_valid] Exception raised during PING operation,user<admin>,ip<";

/// NMS that accept connections but never answer.
class DeafNms {
  public:
    void logIn(RunningAgent& agent) {
        listeners_.push_back(std::make_unique<DeafListener>());
        const CORBA::Object_var object =
            kelp::orb::toReference(agent.orb(), listeners_.back()->corbaloc("Nms"));
        const nmsSession::NmsSession_I_var nms =
            nmsSession::NmsSession_I::_unchecked_narrow(object.in());
        agent.logIn(nms.in());
    }

  private:
    std::vector<std::unique_ptr<DeafListener>> listeners_;
};

TEST(ConcurrentRound, OfAHundredNmsOfWhich40HangServesTheOthers) {
    constexpr unsigned kLiving = 60;
    constexpr unsigned kDeaf = 40;
    DeafNms deaf;
    RunningAgent agent(AgentOptions{.pingIntervalS = 2, .callTimeoutS = 1});
    // the worst order: the NMS that hang come first
    for (unsigned i = 0; i < kDeaf; ++i)
        deaf.logIn(agent);
    for (unsigned i = 1; i <= kLiving; ++i)
        agent.logIn(agent.nms(i));
    const auto everyLiving = [&](auto condition) {
        for (unsigned i = 1; i <= kLiving; ++i) {
            if (!condition(*agent.nms(i).operator->()))
                return false;
        }
        return true;
    };
    // sequential checks would take 40 s a round, and more than three minutes for five rounds
    EXPECT_TRUE(
        waitUntil([&] { return everyLiving([](auto& nms) { return nms.pings >= 3; }); }, 60s));
    agent.sessions().NotifyEventLossOccurred("20260101120000Z", "4711");
    EXPECT_TRUE(
        waitUntil([&] { return everyLiving([](auto& nms) { return nms.losses == 1; }); }, 60s));
    EXPECT_TRUE(waitUntil([&] { return agent.sessions().SessionCount() == kLiving; }, 60s));
    EXPECT_TRUE(everyLiving([](auto& nms) { return nms.losses == 1; })) << "told twice";
}

TEST(ConcurrentRound, EndsAnNmsThatHangsAfterItsFifthRound) {
    DeafNms deaf;
    RunningAgent agent(AgentOptions{.pingIntervalS = 1, .callTimeoutS = 1});
    const TraceCapture trace;
    deaf.logIn(agent);
    EXPECT_TRUE(waitUntil([&] { return agent.sessions().SessionCount() == 0; }, 60s));
    EXPECT_EQ(trace.count(kFailedPing), 4u);
}

TEST(ConcurrentRound, TracesInTheOrderOfTheList) {
    Latch gate;
    RunningAgent agent(AgentOptions{.pingIntervalS = 1, .callTimeoutS = 60});
    // set before the first ping may arrive
    agent.nms(1)->onPing = [&] { gate.pass(); };
    const TraceCapture trace;
    for (unsigned i = 1; i <= 6; ++i) {
        agent.nms(i)->answer = NmsServant::Answer::Refuse;
        agent.logIn(agent.nms(i));
    }
    ASSERT_TRUE(gate.isReached());
    // all others have been called although the first NMS has not answered
    EXPECT_TRUE(waitUntil([&] { return agent.nms(6)->pings >= 1 && agent.nms(2)->pings >= 1; }));
    EXPECT_EQ(trace.count(kFailedPing), 0u) << "what follows a check waits for those before it";
    gate.open();
    ASSERT_TRUE(waitUntil([&] { return trace.count(kFailedPing) >= 6; }));
    std::vector<std::string> seen;
    for (const std::string& line : trace.lines()) {
        if (line.find(kFailedPing) != std::string::npos && seen.size() < 6)
            seen.push_back(
                line.substr(std::string(kFailedPing).size(), agent.nms(1).hostInfo().size() + 9));
    }
    ASSERT_EQ(seen.size(), 6u);
    for (unsigned i = 1; i <= 6; ++i)
        EXPECT_THAT(seen[i - 1], testing::StartsWith(agent.nms(i).hostInfo() + ">")) << i;
}

TEST(ConcurrentRound, WithOneThreadPingsOneAfterTheOther) {
    Latch gate;
    RunningAgent agent(
        AgentOptions{.pingIntervalS = 1, .callTimeoutS = 60}.withSession("ping_threads = 1\n"));
    agent.nms(1)->onPing = [&] { gate.pass(); };
    agent.logIn(agent.nms(1));
    agent.logIn(agent.nms(2));
    ASSERT_TRUE(gate.isReached());
    EXPECT_EQ(agent.nms(2)->pings, 0);
    gate.open();
    EXPECT_TRUE(waitUntil([&] { return agent.nms(2)->pings >= 1; }));
}

TEST(ConcurrentRound, LimitsItsThreads) {
    Latch gate;
    // outlives the agent, whose NMS may be answering a ping when it ends
    std::atomic<int> hanging{0};
    RunningAgent agent(
        AgentOptions{.pingIntervalS = 1, .callTimeoutS = 60}.withSession("ping_threads = 3\n"));
    for (unsigned i = 1; i <= 6; ++i) {
        agent.nms(i)->onPing = [&] {
            ++hanging;
            gate.pass();
            --hanging;
        };
        agent.logIn(agent.nms(i));
    }
    EXPECT_TRUE(gate.isReached());
    int most = 0;
    for (int i = 0; i < 20; ++i) {
        most = std::max(most, hanging.load());
        std::this_thread::sleep_for(10ms);
    }
    gate.open();
    EXPECT_TRUE(waitUntil([&] { return agent.nms(6)->pings >= 1; }));
    EXPECT_LE(most, 3);
}

// -- calls as signs of life

/// An NMS whose callback object does not exist, so every ping is refused.
class SignOfLifeByCall : public testing::Test {
  protected:
    void start(const std::string& sessionLines) {
        agent_ = std::make_unique<RunningAgent>(
            AgentOptions{.pingIntervalS = 1, .callTimeoutS = 5}.withSession(sessionLines));
        agent_->nms()->answer = NmsServant::Answer::Refuse;
        session_ = agent_->logIn(agent_->nms());
        remote_ = agent_->overTheWire<emsSession::EmsSession_I>(session_.in());
    }
    /// Make calls until this number of pings has been refused or the session has ended. True if the
    /// session still exists.
    template <class Call>
    bool survives(int pings, Call call) {
        bool hasEnded = false;
        const auto isDecided = [&] {
            try {
                call();
            } catch (const CORBA::SystemException&) {
                hasEnded = true;
            }
            return hasEnded || agent_->nms()->pings >= pings;
        };
        return waitUntil(isDecided, 60s) && !hasEnded;
    }
    bool ends() {
        return waitUntil([&] { return agent_->sessions().SessionCount() == 0; }, 60s);
    }

    std::unique_ptr<RunningAgent> agent_;
    emsSession::EmsSession_I_var session_;
    emsSession::EmsSession_I_var remote_;
};

TEST_F(SignOfLifeByCall, KeepsTheSessionOfAnNmsThatCallsUntilItFallsSilent) {
    start("call_is_life = true\n");
    EXPECT_TRUE(survives(7, [&] { remote_->ping(); }));
    EXPECT_EQ(agent_->listed(agent_->nms())->source()->get_state(), Normal);
    EXPECT_TRUE(ends()) << "without calls";
}

TEST_F(SignOfLifeByCall, CountsCallsOfManagersToo) {
    start("call_is_life = true\n");
    const common::Common_I_var manager = agent_->remoteManager(session_.in());
    EXPECT_TRUE(survives(7, [&] {
        common::CapabilityList_T_var capabilities;
        manager->getCapabilities(capabilities.out());
    }));
}

TEST_F(SignOfLifeByCall, IsOffUnlessConfigured) {
    start("");
    EXPECT_FALSE(survives(7, [&] { remote_->ping(); }));
    EXPECT_TRUE(ends());
}

}  // namespace
