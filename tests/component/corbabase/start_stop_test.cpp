#include <gtest/gtest.h>

#include <future>

#include "base_orb.h"
#include "scripted_interceptor.h"
#include "support/latch.h"
#include "support/tcp_peers.h"
#include "support/trace_capture.h"
#include "support/wait_until.h"

using kelp::test::base;
using kelp::test::BaseOrb;
using kelp::test::configure;
using kelp::test::Latch;
using kelp::test::ScriptedInterceptor;
using kelp::test::TraceCapture;
using kelp::test::WireSession;
using NS_CORBA::AgentServer;

namespace {

std::string listenOn(std::uint16_t port) {
    return "[orb]\nlisten = \"127.0.0.1:" + std::to_string(port) + "\"\n";
}

bool hasOrb() {
    try {
        const CORBA::ORB_var orb = base().GetOrb();
        return true;
    } catch (const CORBA::BAD_INV_ORDER&) {
        return false;
    }
}

TEST(AgentServer, StartsServesAndStopsTwiceInOneProcess) {
    for (int cycle = 0; cycle < 2; ++cycle) {
        ScriptedInterceptor interceptor;
        {
            const BaseOrb orb;
            const WireSession session;
            base().SetReqInterceptorImpl(&interceptor);
            ASSERT_EQ(AgentServer::Activate(), 0);
            session.ping();
            base().SetReqInterceptorImpl(nullptr);
        }
        EXPECT_EQ(interceptor.requests, 1);
        EXPECT_FALSE(hasOrb());
    }
}

TEST(AgentServer, TheSecondOrbHoldsRequestsAgainUntilAnInterceptorIsSet) {
    {
        const BaseOrb orb;
        base().SetReqInterceptorImpl(nullptr);
    }
    const BaseOrb orb;
    const WireSession session;
    ASSERT_EQ(AgentServer::Activate(), 0);
    EXPECT_THROW(session.ping(std::chrono::milliseconds(300)), CORBA::TIMEOUT);
}

TEST(AgentServer, CallersWaitUntilActivate) {
    const BaseOrb orb;
    ScriptedInterceptor interceptor;
    base().SetReqInterceptorImpl(&interceptor);
    const WireSession session;
    EXPECT_THROW(session.ping(std::chrono::milliseconds(300)), CORBA::TIMEOUT);
    std::future<void> held = std::async(std::launch::async, [&] { session.ping(); });
    ASSERT_EQ(AgentServer::Activate(), 0);
    held.get();
}

TEST(BaseConfig, ASecondInitKeepsTheOrb) {
    const BaseOrb running;
    const CORBA::ORB_var before = base().GetOrb();
    EXPECT_TRUE(base().Init("test_bundle"));
    EXPECT_TRUE(base().Init(nullptr));
    const CORBA::ORB_var after = base().GetOrb();
    EXPECT_EQ(before.in(), after.in());
    const PortableServer::POA_var root = base().GetRootPoa();
    const CORBA::String_var name = root->the_name();
    EXPECT_STREQ(name.in(), "RootPOA");
}

TEST(BaseConfig, ABusyPortFailsAndIsNamed) {
    const kelp::test::DeafListener taken;
    const TraceCapture capture;
    configure(listenOn(taken.port()));
    EXPECT_FALSE(base().Init("test_bundle"));
    EXPECT_TRUE(
        capture.contains("The ORB cannot listen on 127.0.0.1:" + std::to_string(taken.port())));
    EXPECT_FALSE(hasOrb());
    AgentServer::ShutDown();
    AgentServer::Destroy();
}

TEST(BaseConfig, StartsOnAnotherPortAfterABusyOne) {
    {
        const kelp::test::DeafListener taken;
        configure(listenOn(taken.port()));
        EXPECT_FALSE(base().Init("test_bundle"));
    }
    const BaseOrb orb;
    EXPECT_TRUE(hasOrb());
}

TEST(BaseConfig, AnUnreadableKeyPasswordFileFailsAndIsNamed) {
    const std::string exists = "/etc/passwd";
    configure("[tls]\nmode = 1\nlisten = \"127.0.0.1:0\"\nca = \"" + exists +
              "\"\ncertificate = \"" + exists +
              "\"\nkey_password_file = \"/etc\"\n[naming]\nssl_port = 4844\n");
    const TraceCapture capture;
    EXPECT_FALSE(base().Init("test_bundle"));
    EXPECT_TRUE(capture.contains("tls.key_password_file: /etc cannot be read: Is a directory"));
}

TEST(BaseConfig, SessionSettingsHoldUntilTheNextStart) {
    const std::string strategy = "[session]\nrelease_strategy = ";
    {
        const BaseOrb orb(kelp::test::kFreePort + strategy + "2\nmax_sessions = 5\n");
        configure(kelp::test::kFreePort + strategy + "1\nmax_sessions = 6\n");
        EXPECT_TRUE(base().Init("test_bundle"));
        EXPECT_EQ(base().GetSessionReleaseStrategy(), 2);
        EXPECT_EQ(base().GetMaxSession(), 6);
    }
    const BaseOrb orb(kelp::test::kFreePort + strategy + "1\n");
    EXPECT_EQ(base().GetSessionReleaseStrategy(), 1);
}

TEST(AgentServer, AStuckCallDoesNotHangTheStop) {
    BaseOrb orb;
    Latch gate;
    ScriptedInterceptor interceptor;
    base().SetReqInterceptorImpl(&interceptor);
    ASSERT_EQ(AgentServer::Activate(), 0);
    const WireSession session([&] { gate.pass(); });
    std::future<void> stuck = std::async(std::launch::async, [&] {
        try {
            session.ping();
        } catch (const CORBA::Exception&) {
            // the ORB is shutting down and cannot receive the reply
        }
    });
    ASSERT_TRUE(gate.isReached());

    const TraceCapture capture;
    AgentServer::ShutDown();
    EXPECT_TRUE(capture.contains("[AgentServer::ShutDown] Calls in progress have not ended"));
    AgentServer::Destroy();
    EXPECT_TRUE(capture.contains("[AgentServer::Destroy] The ORB is left as it is"));
    EXPECT_TRUE(hasOrb());
    EXPECT_FALSE(base().Init("test_bundle"));
    EXPECT_TRUE(capture.contains("The ORB of the last run still waits for calls in progress"));

    gate.open();
    stuck.get();
    EXPECT_TRUE(kelp::test::waitUntil([] {
        AgentServer::Destroy();
        return !hasOrb();
    }));
}

TEST(AgentServer, StoppingTwiceIsHarmless) {
    BaseOrb orb;
    orb.shutDown();
    orb.shutDown();
    AgentServer::Discard();
    EXPECT_EQ(AgentServer::AgentWorker(nullptr), nullptr);
    orb.stop();
    orb.stop();
    EXPECT_FALSE(hasOrb());
}

TEST(AgentServer, DestroyAloneStopsTheOrbFirst) {
    configure(kelp::test::kFreePort);
    ASSERT_TRUE(base().Init("test_bundle"));
    AgentServer::Destroy();
    EXPECT_FALSE(hasOrb());
}

TEST(AgentServer, AnOrbThatNobodyServedCanBeStopped) {
    configure(kelp::test::kFreePort);
    ASSERT_TRUE(base().Init("test_bundle"));
    const TraceCapture capture;
    AgentServer::Discard();
    AgentServer::ShutDown();
    AgentServer::Destroy();
    EXPECT_FALSE(hasOrb());
    EXPECT_FALSE(capture.contains("have not ended"));
}

}  // namespace
