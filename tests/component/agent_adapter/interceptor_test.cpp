// What the interceptor does with a request: thread context, and the sign of life of an NMS.

#include "interceptor/corba_request_interceptorimpl.h"

#include "adapter/sessionsource.h"
#include "support/agent_fixture.h"
#include "support/trace_capture.h"

#include <kelp/util/thread_context.h>

#include <gtest/gtest.h>
#include <pthread.h>

#include <future>

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

/// A request that arrived on an object below the given top POA.
class FakeRequest : public kelp::orb::RequestInfo {
  public:
    explicit FakeRequest(std::string operation) : operation_(std::move(operation)) {}
    char* operation() const override { return CORBA::string_dup(operation_.c_str()); }
    const std::string& operationName() const override { return operation_; }
    const kelp::orb::PeerAddress& peer() const override { return peer_; }
    const std::string& topPoaName() const override { return name_; }
    const std::string& childPoaName() const override { return name_; }
    const std::string& objectId() const override { return name_; }
    std::chrono::system_clock::time_point arrived() const override { return {}; }
    std::chrono::microseconds age() const override { return {}; }

  private:
    std::string operation_;
    kelp::orb::PeerAddress peer_;
    std::string name_;
};

/// Sleeps on a session's wake point like a waiting thread and tells how the wait ended.
std::future<WaitEnd> waitOn(const ServantRef<EmsSession_IImpl>& session, std::uint64_t& seen,
                            std::int64_t seconds) {
    EmsSession_IImpl* servant = session.get();
    return std::async(std::launch::async, [servant, &seen, seconds] {
        return servant->wakePoint().wait(
            seconds, seen, [servant] { return servant->source()->get_state() == Normal; },
            [] { return true; });
    });
}

TEST(ThreadContext, HoldsThreadAndOperation) {
    Corba_Request_InterceptorImpl interceptor;
    const FakeRequest request("getManager");
    interceptor.SetThreadContext(&request);
    const NS_UTIL::ThreadContextInfo info = NS_UTIL::ThreadContextMgr::Instance()->GetThreadContext();
    EXPECT_EQ(info.GetInterfaceName(), "getManager");
    EXPECT_EQ(info.GetThreadID(), static_cast<int>(pthread_self()));
    EXPECT_EQ(info.GetOperUUID(), "");
}

TEST(ThreadContext, WithoutARequestIsEmptyAndTraced) {
    TraceCapture trace;
    Corba_Request_InterceptorImpl interceptor;
    interceptor.SetThreadContext(nullptr);
    EXPECT_EQ(NS_UTIL::ThreadContextMgr::Instance()->GetThreadContext().GetInterfaceName(), "");
    EXPECT_TRUE(trace.contains("[SetThreadContext] ri is null"));
}

TEST(SignOfLife, AnyOtherOperationThanPingAndEndSessionCounts) {
    RunningAgent agent(AgentOptions().with(2, true));
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto listed = agent.listed(agent.nms());
    const auto remote = agent.overTheWire<emsSession::EmsSession_I>(session.in());
    std::uint64_t seen = 0;
    auto waiting = waitOn(listed, seen, 60);
    emsSession::EmsSession_I::managerNames_T_var names;
    remote->getSupportedManagers(names.out());
    EXPECT_EQ(waiting.get(), WaitEnd::Activity);
}

TEST(SignOfLife, CallOnAManagerCountsForTheSessionItBelongsTo) {
    RunningAgent agent(AgentOptions().with(2, true));
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto listed = agent.listed(agent.nms());
    const common::Common_I_var manager = agent.remoteManager(session.in());
    std::uint64_t seen = 0;
    auto waiting = waitOn(listed, seen, 60);
    common::CapabilityList_T_var list;
    manager->getCapabilities(list.out());
    EXPECT_EQ(waiting.get(), WaitEnd::Activity);
}

TEST(SignOfLife, PingOfTheNmsDoesNotCount) {
    RunningAgent agent(AgentOptions().with(2, true));
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto listed = agent.listed(agent.nms());
    const auto remote = agent.overTheWire<emsSession::EmsSession_I>(session.in());
    std::uint64_t seen = 0;
    auto waiting = waitOn(listed, seen, 2);
    for (int i = 0; i < 20; ++i)
        remote->ping();
    EXPECT_EQ(waiting.get(), WaitEnd::TimedOut);
    EXPECT_EQ(seen, 0u);
}

TEST(SignOfLife, CountsOnlyForTheSessionOfTheSameAddress) {
    RunningAgent agent(AgentOptions().with(2, true));
    const emsSession::EmsSession_I_var one = agent.logIn(agent.nms(1));
    const emsSession::EmsSession_I_var two = agent.logIn(agent.nms(2));
    const auto listedOne = agent.listed(agent.nms(1));
    const auto listedTwo = agent.listed(agent.nms(2));
    std::uint64_t seenOne = 0;
    std::uint64_t seenTwo = 0;
    auto waitingOne = waitOn(listedOne, seenOne, 60);
    auto waitingTwo = waitOn(listedTwo, seenTwo, 2);
    emsSession::EmsSession_I::managerNames_T_var names;
    agent.overTheWire<emsSession::EmsSession_I>(one.in())->getSupportedManagers(names.out());
    EXPECT_EQ(waitingOne.get(), WaitEnd::Activity);
    EXPECT_EQ(waitingTwo.get(), WaitEnd::TimedOut);
}

TEST(SignOfLife, NothingCountsUnderTheOtherStrategies) {
    RunningAgent agent(AgentOptions().with(1, true));
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto listed = agent.listed(agent.nms());
    std::uint64_t seen = 0;
    auto waiting = waitOn(listed, seen, 2);
    emsSession::EmsSession_I::managerNames_T_var names;
    agent.overTheWire<emsSession::EmsSession_I>(session.in())->getSupportedManagers(names.out());
    EXPECT_EQ(waiting.get(), WaitEnd::TimedOut);
}

TEST(SignOfLife, RequestOutsideASessionSignalsNobody) {
    RunningAgent agent(AgentOptions().with(2, true));
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto listed = agent.listed(agent.nms());
    std::uint64_t seen = 0;
    auto waiting = waitOn(listed, seen, 2);
    const CORBA::String_var version = agent.remoteFactory()->getVersion();
    EXPECT_EQ(waiting.get(), WaitEnd::TimedOut);
}

}  // namespace
