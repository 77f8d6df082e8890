#include <gtest/gtest.h>
#include <kelp/orb/orb.h>
#include <kelp/util/thread_context.h>

#include <future>
#include <stdexcept>

#include "base_orb.h"
#include "scripted_interceptor.h"
#include "support/latch.h"
#include "support/trace_capture.h"
#include "support/wait_until.h"

using kelp::test::base;
using kelp::test::BaseOrb;
using kelp::test::Latch;
using kelp::test::ScriptedInterceptor;
using kelp::test::WireSession;
using NS_CORBA::AgentServer;

namespace {

/// Return "", or the name of the CORBA exception with which the call ends.
template <class Call>
std::string resultOf(Call call) {
    try {
        call();
    } catch (const CORBA::Exception& failure) {
        return failure._name();
    }
    return "";
}

std::string pingResult(const WireSession& session,
                       std::chrono::milliseconds limit = std::chrono::seconds(30)) {
    return resultOf([&] { session.ping(limit); });
}

std::future<std::string> pingElsewhere(const WireSession& session) {
    return std::async(std::launch::async, [&session] { return pingResult(session); });
}

class Interception : public testing::Test {
  protected:
    Interception() { EXPECT_EQ(AgentServer::Activate(), 0); }
    ~Interception() override { base().SetReqInterceptorImpl(nullptr); }

    BaseOrb orb;
    WireSession session;
};

TEST_F(Interception, HoldsRequestsUntilAnInterceptorIsSetAndChecksThemThen) {
    EXPECT_EQ(pingResult(session, std::chrono::milliseconds(300)), "TIMEOUT");
    EXPECT_EQ(session.servant().pings, 0);
    std::future<std::string> held = pingElsewhere(session);
    ScriptedInterceptor interceptor;
    base().SetReqInterceptorImpl(&interceptor);
    EXPECT_EQ(held.get(), "");
    EXPECT_TRUE(kelp::test::waitUntil([&] { return session.servant().pings == 2; }));
    EXPECT_EQ(interceptor.requests, 2);
}

TEST_F(Interception, EveryRequestPassesTheInterceptorWithItsOperation) {
    std::string operation;
    ScriptedInterceptor interceptor([&](const kelp::orb::RequestInfo* ri) {
        const CORBA::String_var name = ri->operation();
        operation = name.in();
    });
    base().SetReqInterceptorImpl(&interceptor);
    EXPECT_EQ(pingResult(session), "");
    EXPECT_EQ(pingResult(session), "");
    EXPECT_EQ(interceptor.requests, 2);
    EXPECT_EQ(operation, "ping");
}

TEST_F(Interception, CallerGetsWhatTheInterceptorRaises) {
    ScriptedInterceptor interceptor(
        [](const kelp::orb::RequestInfo*) { throw CORBA::NO_PERMISSION(); });
    base().SetReqInterceptorImpl(&interceptor);
    EXPECT_EQ(pingResult(session), "NO_PERMISSION");
    EXPECT_EQ(session.servant().pings, 0);
}

TEST_F(Interception, AFailingInterceptorRefusesTheRequestAndIsTraced) {
    const kelp::test::TraceCapture capture;
    ScriptedInterceptor interceptor(
        [](const kelp::orb::RequestInfo*) { throw std::runtime_error("no disk"); });
    base().SetReqInterceptorImpl(&interceptor);
    EXPECT_EQ(pingResult(session), "INTERNAL");
    EXPECT_EQ(session.servant().pings, 0);
    EXPECT_TRUE(capture.contains("The request interceptor failed: no disk"));
}

TEST_F(Interception, RefusesWithTransientOnceTheInterceptorIsRemoved) {
    ScriptedInterceptor interceptor;
    base().SetReqInterceptorImpl(&interceptor);
    EXPECT_EQ(pingResult(session), "");
    base().SetReqInterceptorImpl(nullptr);
    EXPECT_EQ(pingResult(session), "TRANSIENT");
    EXPECT_EQ(interceptor.requests, 1);
    EXPECT_EQ(session.servant().pings, 1);
}

TEST_F(Interception, RemovingTheInterceptorReleasesWaitingRequests) {
    std::future<std::string> held = pingElsewhere(session);
    EXPECT_EQ(held.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    base().SetReqInterceptorImpl(nullptr);
    EXPECT_EQ(held.get(), "TRANSIENT");
}

TEST_F(Interception, RemovingTheInterceptorWaitsForCallsInsideIt) {
    Latch gate;
    std::atomic<bool> left{false};
    ScriptedInterceptor interceptor([&](const kelp::orb::RequestInfo*) {
        gate.pass();
        left = true;
    });
    base().SetReqInterceptorImpl(&interceptor);
    std::future<std::string> inside = pingElsewhere(session);
    ASSERT_TRUE(gate.isReached());
    std::future<bool> taking = std::async(std::launch::async, [&] {
        base().SetReqInterceptorImpl(nullptr);
        return left.load();
    });
    EXPECT_EQ(taking.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    gate.open();
    EXPECT_TRUE(taking.get());
    EXPECT_EQ(inside.get(), "");
}

TEST_F(Interception, ARunningServantDoesNotDelayRemovingTheInterceptor) {
    Latch gate;
    const WireSession busy([&] { gate.pass(); });
    ScriptedInterceptor interceptor;
    base().SetReqInterceptorImpl(&interceptor);
    std::future<std::string> running = pingElsewhere(busy);
    ASSERT_TRUE(gate.isReached());
    base().SetReqInterceptorImpl(nullptr);
    gate.open();
    EXPECT_EQ(running.get(), "");
}

TEST_F(Interception, AnotherInterceptorTakesOverWithoutRefusingAnyone) {
    ScriptedInterceptor first;
    ScriptedInterceptor second;
    base().SetReqInterceptorImpl(&first);
    EXPECT_EQ(pingResult(session), "");
    base().SetReqInterceptorImpl(&second);
    EXPECT_EQ(pingResult(session), "");
    EXPECT_EQ(first.requests, 1);
    EXPECT_EQ(second.requests, 1);
}

TEST_F(Interception, TheThreadContextEndsWithTheRequest) {
    std::vector<std::string> seen;
    ScriptedInterceptor interceptor([&](const kelp::orb::RequestInfo*) {
        seen.push_back(
            NS_UTIL::ThreadContextMgr::Instance()->GetThreadContext().GetInterfaceName());
        NS_UTIL::ThreadContextInfo context;
        context.SetInterfaceName("ping");
        NS_UTIL::ThreadContextMgr::Instance()->SetThreadContext(context);
        if (seen.size() == 2)
            throw CORBA::NO_PERMISSION();
    });
    base().SetReqInterceptorImpl(&interceptor);
    EXPECT_EQ(pingResult(session), "");
    EXPECT_EQ(pingResult(session), "NO_PERMISSION");
    EXPECT_EQ(pingResult(session), "");
    EXPECT_EQ(seen, (std::vector<std::string>{"", "", ""}));
}

TEST_F(Interception, DiscardRefusesNewRequestsAlsoUnderWellKnownKeys) {
    ScriptedInterceptor interceptor;
    base().SetReqInterceptorImpl(&interceptor);
    const CORBA::ORB_var itsOrb = base().GetOrb();
    kelp::orb::publishKey(itsOrb.in(), "WellKnown", &session.servant(), session.own());
    const std::string address = kelp::test::wireAddress(session.own());
    const CORBA::Object_var object =
        kelp::orb::toReference(itsOrb.in(), address.substr(0, address.find('/')) + "/WellKnown");
    const nmsSession::NmsSession_I_var byKey =
        nmsSession::NmsSession_I::_unchecked_narrow(object.in());
    EXPECT_EQ(resultOf([&] { byKey->ping(); }), "");
    AgentServer::Discard();
    EXPECT_EQ(pingResult(session), "TRANSIENT");
    EXPECT_EQ(resultOf([&] { byKey->ping(); }), "TRANSIENT");
    EXPECT_EQ(AgentServer::Activate(), 0);
    EXPECT_EQ(pingResult(session), "");
}

TEST_F(Interception, ShutDownReleasesWaitingRequests) {
    std::future<std::string> held = pingElsewhere(session);
    EXPECT_EQ(held.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    const kelp::test::TraceCapture capture;
    session.servant()._add_ref();  // the end of the ORB releases the POA's reference
    const PortableServer::ServantBase_var pinned(&session.servant());
    orb.shutDown();
    EXPECT_NE(held.get(), "");
    EXPECT_EQ(session.servant().pings, 0);
    EXPECT_FALSE(capture.contains("have not ended"));
}

TEST_F(Interception, AStopAfterThousandsOfRefusedRequestsDoesNotHang) {
    ScriptedInterceptor interceptor(
        [](const kelp::orb::RequestInfo*) { throw CORBA::NO_PERMISSION(); });
    base().SetReqInterceptorImpl(&interceptor);
    kelp::test::configure(std::string(kelp::test::kFreePort) +
                          "[access]\nrequests_per_second_before_login = 0\n");
    for (int i = 0; i < 3000; ++i)
        ASSERT_EQ(pingResult(session), "NO_PERMISSION");
    const kelp::test::TraceCapture capture;
    orb.shutDown();
    EXPECT_FALSE(capture.contains("have not ended"));
    EXPECT_EQ(interceptor.requests, 3000);
}

}  // namespace
