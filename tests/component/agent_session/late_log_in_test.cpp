// Log-ins during the stop.

#include <gtest/gtest.h>
#include <kelp/util/stopping.h>

#include <atomic>
#include <memory>
#include <thread>

#include "adapter/session_source.h"
#include "support/agent_fixture.h"
#include "support/latch.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

/// Puts the process into its stop for the length of a scope.
class Stopping {
  public:
    Stopping() { kelp::util::beginStop(); }
    ~Stopping() { kelp::util::endStop(); }
    Stopping(const Stopping&) = delete;
    Stopping& operator=(const Stopping&) = delete;
};

TEST(LateLogIn, IsRefusedOnceItsEndCanNoLongerBeNotified) {
    RunningAgent agent;
    agent.logIn(agent.nms(1));
    agent.requestExit();
    agent.endSessions();
    EXPECT_TRUE(waitUntil([&] { return agent.nms(1)->ends == 1; }));
    const TraceCapture trace;
    EXPECT_EQ(refusalOf([&] { agent.logIn(agent.nms(2)); }), 0x411800BEul);
    EXPECT_TRUE(trace.contains("[EmsSessionFactory_IImpl::getEmsSession] Add EMSSession for NMS-<" +
                               agent.nms(2).hostInfo() + "> Failed!"));
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
    EXPECT_EQ(agent.liveLogins(agent.nms(2)), 0u);
    EXPECT_EQ(agent.nms(2)->ends, 0);
}

TEST(LateLogIn, IsNotifiedOfItsEndWhenItIsListedDuringTheStop) {
    Latch gate;
    RunningAgent agent(AgentOptions{.pingIntervalS = 1, .callTimeoutS = 60});
    // the stop waits for the ping of NMS 1 while NMS 2 logs in
    agent.nms(1)->onPing = [&] { gate.pass(); };
    agent.logIn(agent.nms(1));
    ASSERT_TRUE(gate.isReached());
    agent.requestExit();
    std::thread stop([&] { agent.endSessions(); });
    EXPECT_EQ(refusalOf([&] { agent.logIn(agent.nms(2)); }), 0ul);
    gate.open();
    stop.join();
    EXPECT_TRUE(waitUntil([&] { return agent.nms(2)->ends == 1; }));
    EXPECT_EQ(agent.liveLogins(agent.nms(2)), 0u);
}

TEST(LateLogIn, StopsWaitingForANameWhenTheStopBegins) {
    Latch gate;
    RunningAgent agent(AgentOptions{.callTimeoutS = 86400});
    agent.manager().onCall = [&] { gate.pass(); };
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const common::Common_I_var manager = agent.remoteManager(session.in());
    std::thread call([&] {
        kelp::orb::setThreadTimeout(std::chrono::seconds(60));
        try {
            common::CapabilityList_T_var list;
            manager->getCapabilities(list.out());
        } catch (const CORBA::Exception&) {
            // the session has ended
        }
    });
    ASSERT_TRUE(gate.isReached());
    std::atomic<unsigned long> code{0};
    std::atomic<bool> done{false};
    std::thread waiting([&] {
        code = refusalOf([&] { agent.logIn(agent.nms()); });
        done = true;
    });
    ASSERT_TRUE(waitUntil([&] { return agent.sessions().SessionCount() == 0; }));
    {
        const Stopping stopping;
        EXPECT_TRUE(waitUntil([&] { return done.load(); }, std::chrono::seconds(30)));
    }
    gate.open();
    waiting.join();
    call.join();
    EXPECT_EQ(code, 0x411800BAul);
    EXPECT_EQ(agent.liveLogins(agent.nms()), 0u);
}

}  // namespace
