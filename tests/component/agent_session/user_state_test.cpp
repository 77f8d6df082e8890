// Light event 119: an account became invalid for a live log-in.

#include <gtest/gtest.h>
#include <kelp/corbabase/ref_count.h>

#include <functional>
#include <stdexcept>
#include <thread>

#include "adapter/session_source.h"
#include "support/agent_fixture.h"
#include "support/latch.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;
using NS_BUNDLEMGR1::LightEventData;
using NS_BUNDLEMGR1::LightEventMgr;

LightEventData aboutUser(const std::string& ip, const std::string& port, const std::string& user) {
    return {{{"IP", ip}, {"PORT", port}, {"USN", user}}};
}

LightEventData aboutUser(const std::string& hostInfo, const std::string& user = "admin") {
    const std::size_t colon = hostInfo.find(':');
    return aboutUser(hostInfo.substr(0, colon), hostInfo.substr(colon + 1), user);
}

TEST(UserState, EndsTheSessionOfAnInvalidUser) {
    RunningAgent agent;
    agent.addUser("second");
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const emsSession::EmsSession_I_var sameHost = agent.logIn(agent.nms(), "second");
    const emsSession::EmsSession_I_var sameUser = agent.logIn(agent.nms(2));
    const auto servant = agent.listed(agent.nms());
    const TraceCapture trace;
    LightEventMgr::Instance()->Raise(119, aboutUser(agent.nms().hostInfo()));
    EXPECT_TRUE(waitUntil([&] { return isGone([&] { session->ping(); }); }));
    EXPECT_TRUE(
        trace.contains("[BaseSSHandler::DoWork]: User <NmsHostInfo = " + agent.nms().hostInfo() +
                       ", UserName = admin> state change to Invalid, session will be end!\n"));
    EXPECT_TRUE(waitUntil([&] { return servant->source()->get_state() == Ended; }));
    EXPECT_TRUE(waitUntil([&] { return agent.liveLogins(agent.nms()) == 0; }));
    // removed from the list at once, and the list's reference is released
    EXPECT_TRUE(waitUntil([&] { return servant->_refcount_value() == 1; }));
    EXPECT_EQ(agent.sessions().SessionCount(), 2u);
    sameHost->ping();
    sameUser->ping();
}

TEST(UserState, NeedsAddressPortAndUser) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const LightEventData whole = aboutUser(agent.nms().hostInfo());
    BaseSSHandler handler;
    const TraceCapture trace;
    for (const char* missing : {"IP", "PORT", "USN"}) {
        LightEventData without;
        LightEventData empty;
        for (const NS_BUNDLEMGR1::NameValueStru& each : whole.values) {
            const bool isMissing = each.name == missing;
            empty.values.push_back({each.name, isMissing ? "" : each.value});
            if (!isMissing)
                without.values.push_back(each);
        }
        handler.DoWork(119, &without);
        handler.DoWork(119, &empty);
    }
    handler.DoWork(119, nullptr);
    handler.DoWork(118, &whole);
    EXPECT_FALSE(trace.contains("[BaseSSHandler::DoWork]"));
    session->ping();
    handler.DoWork(119, &whole);
    EXPECT_TRUE(waitUntil([&] { return isGone([&] { session->ping(); }); }));
}

TEST(UserState, ReportsThatThereIsNoSuchSession) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const TraceCapture trace;
    const LightEventData other = aboutUser(agent.nms().hostInfo(), "nobody");
    BaseSSHandler().DoWork(119, &other);
    EXPECT_TRUE(trace.contains("[BaseSSHandler::DoWork]: GetNmsSession <NmsHostInfo = " +
                               agent.nms().hostInfo() + ", UserName = nobody> failed!\n"));
    session->ping();
}

/// A session whose end runs a function of the test.
class OddSession : public EmsSession_IImpl {
  public:
    explicit OddSession(std::function<void()> onEnd)
        : EmsSession_IImpl(
              SessionSource::create("10.0.0.1:5000", "admin", nmsSession::NmsSession_I::_nil())),
          onEnd_(std::move(onEnd)) {}
    void endSession() override { onEnd_(); }

  private:
    const std::function<void()> onEnd_;
};

TEST(UserState, AbsorbsWhatASessionsEndThrows) {
    RunningAgent agent;
    const LightEventData data = aboutUser("10.0.0.1:5000");
    const TraceCapture trace;
    agent.sessions().add_emsSession(new OddSession([] { throw CORBA::NO_RESOURCES(); }));
    BaseSSHandler().DoWork(119, &data);
    EXPECT_TRUE(trace.contains(
        "[BaseSSHandler::DoWork]: endSession <NmsHostInfo = 10.0.0.1:5000, UserName = "
        "admin> exception: NO_RESOURCES"));
    agent.sessions().add_emsSession(new OddSession([] { throw std::runtime_error("odd"); }));
    BaseSSHandler().DoWork(119, &data);
    EXPECT_TRUE(trace.contains(
        "[BaseSSHandler::DoWork]: endSession <NmsHostInfo = 10.0.0.1:5000, UserName = "
        "admin> unk exception\n"));
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
    EXPECT_EQ(trace.count("[EmsSession_IImpl::~EmsSession_IImpl]"), 2u)
        << "the list's reference is dropped";
}

TEST(UserState, IsIgnoredAfterTheStop) {
    RunningAgent agent;
    agent.requestExit();
    agent.endSessions();
    const TraceCapture trace;
    LightEventMgr::Instance()->Raise(119, aboutUser("10.0.0.1:5000"));
    // deliver the queued events
    LightEventMgr::Instance()->Stop();
    EXPECT_FALSE(trace.contains("[BaseSSHandler::DoWork]"));
}

TEST(UserState, IsWaitedForByTheStopWhichHoldsNoLockMeanwhile) {
    Latch gate;
    RunningAgent agent;
    agent.sessions().add_emsSession(new OddSession([&] { gate.pass(); }));
    LightEventMgr::Instance()->Raise(119, aboutUser("10.0.0.1:5000"));
    ASSERT_TRUE(gate.isReached());
    std::atomic<bool> stopped{false};
    agent.requestExit();
    std::thread stop([&] {
        agent.endSessions();
        stopped = true;
    });
    EXPECT_FALSE(waitUntil([&] { return stopped.load(); }, std::chrono::milliseconds(200)));
    EXPECT_EQ(agent.sessions().SessionCount(), 0u) << "the session lock is free";
    gate.open();
    stop.join();
}

}  // namespace
