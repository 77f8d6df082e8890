// The stop ends soon even if peers hang, and it destroys nothing that a running request uses.

#include <gtest/gtest.h>
#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/asyn_notify_mgr.h>
#include <kelp/corbabase/security_mgr.h>
#include <kelp/util/stopping.h>

#include <chrono>
#include <future>
#include <string>

#include "agent_fixture.h"
#include "session/ems_session_factory_impl.h"
#include "support/latch.h"
#include "support/wait_until.h"

namespace kelp::test {
namespace {

using NS_KELPCORBA::CorbaAgentFacade;
using NS_KELPCORBA::EmsSessionFactory_IImpl;
using NS_KELPCORBA::SessionMgr;

/// A call may take a day.
constexpr const char* kPatient = "call_timeout_s = 86400\nping_interval_s = 1\n";
/// The maximum that the product promises for a stop.
constexpr std::chrono::seconds kLongestStop{60};

class BoundedStop : public AgentFixture {
  protected:
    void startWithUser(const std::string& session) {
        configureAgent(session, freePort(), "[access]\nnms_reference = \"any\"\n");
        kelp::users::UserDatabase(kelp::users::userDatabaseFile())
            .add("admin", "secret", kelp::users::configuredHashCost());
        ASSERT_TRUE(start());
    }
    void logIn(const std::string& corbaloc) {
        const CORBA::ORB_var orb = base().GetOrb();
        const CORBA::Object_var object = orb::toReference(orb.in(), corbaloc);
        const nmsSession::NmsSession_I_var nms =
            nmsSession::NmsSession_I::_unchecked_narrow(object.in());
        emsSession::EmsSession_I_var session;
        EmsSessionFactory_IImpl::Instance()->getEmsSession("admin", "secret", nms.in(),
                                                           session.out());
    }
    /// True if the stop ends in time.
    bool stopsInTime() {
        auto stopped = std::async(std::launch::async, [this] { stop(); });
        return stopped.wait_for(kLongestStop) == std::future_status::ready;
    }
};

TEST_F(BoundedStop, EndsAPingThatIsNotAnswered) {
    const DeafListener deaf;
    startWithUser(kPatient);
    logIn(deaf.corbaloc());
    ASSERT_TRUE(waitUntil([&] { return deaf.hasConnection(); }));
    EXPECT_TRUE(stopsInTime());
    expectNothingRuns();
    EXPECT_FALSE(util::isAnythingLeftRunning());
}

TEST_F(BoundedStop, EndsAPingOfAnNmsThatCannotBeReached) {
    const FullBacklogListener unreachable;
    const DeafListener deaf;
    startWithUser(kPatient);
    logIn(unreachable.corbaloc());
    logIn(deaf.corbaloc());
    // this connection begins after that of the first NMS
    ASSERT_TRUE(waitUntil([&] { return deaf.hasConnection(); }));
    EXPECT_TRUE(stopsInTime());
    expectNothingRuns();
    EXPECT_FALSE(util::isAnythingLeftRunning());
}

TEST_F(BoundedStop, AbandonsATaskThatDoesNotEnd) {
    Latch gate;
    startWithUser("");
    ASSERT_TRUE(NS_CORBA::AsynNotifyMgr::Instance()->Post([&] { gate.pass(); }));
    ASSERT_TRUE(gate.isReached());
    EXPECT_TRUE(stopsInTime());
    EXPECT_TRUE(util::isAnythingLeftRunning());
    EXPECT_TRUE(trace_.contains("a task of the notification manager still runs"));
    gate.open();
}

/// A request is inside a manager interface while the agent stops.
TEST_F(BoundedStop, DestroysNothingThatARunningRequestUses) {
    Latch gate;
    enterInterface("First", 1);
    startWithUser("");
    WireSession session([&] { gate.pass(); });
    auto call = std::async(std::launch::async, [&] {
        try {
            session.ping(std::chrono::hours(1));
        } catch (const CORBA::SystemException&) {
            // the stop has ended the call on the caller's side
        }
    });
    ASSERT_TRUE(gate.isReached());
    EXPECT_TRUE(stopsInTime());
    EXPECT_TRUE(trace_.contains("a request still runs"));
    EXPECT_TRUE(util::isAnythingLeftRunning());
    EXPECT_NE(SessionMgr::Existing(), nullptr) << "it may be asked by the request";
    EXPECT_THAT(log_.calls(), testing::Not(testing::Contains("Destroy First")));
    EXPECT_FALSE(isOrbGone());
    gate.open();
    call.wait();
    NS_CORBA::AgentServer::ShutDown();
    CorbaAgentFacade::Fini();
    EXPECT_THAT(log_.calls(), testing::Contains("Destroy First"));
    expectNothingRuns();
}

}  // namespace
}  // namespace kelp::test
