// All operations on sessions run concurrently for a limited time. Nothing may be lost, hang or
// race. Run it under the thread sanitizer.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "adapter/session_source.h"
#include "support/agent_fixture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;
using namespace std::chrono_literals;

constexpr unsigned kNms = 6;

class Races : public testing::TestWithParam<AgentOptions> {
  protected:
    /// Run the body repeatedly on a separate thread until the time is up.
    void start(std::function<void(unsigned round)> body) {
        threads_.emplace_back([this, body = std::move(body)] {
            kelp::orb::setThreadTimeout(30s);
            for (unsigned round = 0; !stop_; ++round) {
                try {
                    body(round);
                } catch (const CORBA::Exception&) {
                    // the call was refused, or the session has ended meanwhile
                }
            }
        });
    }
    void runFor(std::chrono::milliseconds time) {
        waitUntil([&] { return HasFailure(); }, time);
        stop_ = true;
        for (std::thread& each : threads_)
            each.join();
    }

    std::atomic<bool> stop_{false};
    std::vector<std::thread> threads_;
};

TEST_P(Races, LoseNoSessionAndNoLogIn) {
    RunningAgent agent(GetParam());
    for (unsigned i = 1; i <= kNms; ++i)
        agent.nms(i);
    std::atomic<int> logIns{0};
    for (unsigned thread = 0; thread < 3; ++thread) {
        start([&agent, &logIns, thread](unsigned round) {
            const emsSession::EmsSession_I_var session =
                agent.logIn(agent.nms(1 + (round + thread) % kNms));
            ++logIns;
            if (round % 3 == 0)
                agent.overTheWire<emsSession::EmsSession_I>(session.in())->endSession();
            const common::Common_I_var manager = agent.remoteManager(session.in());
            common::CapabilityList_T_var capabilities;
            manager->getCapabilities(capabilities.out());
        });
    }
    start([&agent](unsigned round) {
        const std::string& host = agent.nms(1 + round % kNms).hostInfo();
        const std::size_t colon = host.find(':');
        NS_BUNDLEMGR1::LightEventMgr::Instance()->Raise(
            119,
            {{{"IP", host.substr(0, colon)}, {"PORT", host.substr(colon + 1)}, {"USN", "admin"}}});
        std::this_thread::sleep_for(1ms);
    });
    start([&agent](unsigned round) {
        agent.nms(1 + round % kNms)->answer =
            round % 2 == 0 ? NmsServant::Answer::Refuse : NmsServant::Answer::Normally;
        agent.sessions().isAdminAlreadyLoginIn("admin");
        if (const auto session = agent.listed(agent.nms(1 + round % kNms)))
            session->source()->check_valid(round % 5 != 0, "t", "n", true);
        if (round % 7 == 0)
            agent.sessions().NotifyEventLossOccurred("t", "n");
        else
            agent.sessions().NotifyEventLossCleared("t");
        std::this_thread::sleep_for(1ms);
    });
    runFor(2500ms);
    EXPECT_GT(logIns, 0);

    agent.requestExit();
    EXPECT_TRUE(agent.waitingThreadsLeave());
    agent.endSessions();
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
    // the light event may still be ending a session
    NS_BUNDLEMGR1::LightEventMgr::Instance()->Stop();
    for (unsigned i = 1; i <= kNms; ++i)
        EXPECT_EQ(agent.liveLogins(agent.nms(i)), 0u) << i;
}

INSTANTIATE_TEST_SUITE_P(
    Strategies, Races,
    testing::Values(
        AgentOptions{.releaseStrategy = 0, .pingMode = true, .pingIntervalS = 1},
        AgentOptions{.releaseStrategy = 1, .pingMode = false, .pingIntervalS = 1, .maxSessions = 3},
        AgentOptions{.releaseStrategy = 2, .pingMode = false, .pingIntervalS = 1, .reuse = true},
        AgentOptions{.releaseStrategy = 2, .pingMode = true, .pingIntervalS = 1, .reuse = true},
        AgentOptions{.releaseStrategy = 2, .pingMode = true, .pingIntervalS = 1}));

TEST(Stop, MeetsRequestsInProgress) {
    RunningAgent agent(AgentOptions{.releaseStrategy = 2, .pingMode = false, .silentTimeS = 3});
    std::atomic<bool> stop{false};
    std::vector<std::thread> callers;
    for (unsigned i = 1; i <= 4; ++i) {
        const emsSession::EmsSession_I_var session = agent.logIn(agent.nms(i));
        callers.emplace_back([&stop, manager = agent.remoteManager(session.in())] {
            kelp::orb::setThreadTimeout(30s);
            while (!stop) {
                try {
                    common::CapabilityList_T_var capabilities;
                    manager->getCapabilities(capabilities.out());
                } catch (const CORBA::SystemException&) {
                    // the agent stops
                    std::this_thread::sleep_for(1ms);
                }
            }
        });
    }
    EXPECT_TRUE(waitUntil([&] { return agent.manager().calls > 100; }));
    agent.requestExit();
    agent.endSessions();
    agent.base().SetReqInterceptorImpl(nullptr);
    stop = true;
    for (std::thread& each : callers)
        each.join();
}

}  // namespace
