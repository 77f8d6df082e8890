// What callers see while the agent starts, runs and stops.

#include <kelp/orb/exception_text.h>
#include <mtnm/emsSessionFactory.h>

#include <future>

#include "agent_fixture.h"
#include "component/corbabase/scripted_interceptor.h"
#include "corbaenv/agent_server_facade.h"
#include "support/test_nms.h"
#include "support/wait_until.h"

namespace kelp::test {
namespace {

/// The possible outcomes of a call to an agent that stops. The call is refused, or the connection
/// or the target's POA is gone before the refusal arrives. In this test the ORB may be gone as
/// well, because caller and agent share it.
const auto kRefused = testing::AnyOf("TRANSIENT", "COMM_FAILURE", "OBJ_ADAPTER", "BAD_INV_ORDER");

class Callers : public AgentFixture {
  protected:
    /// Return the session factory as an NMS calls it: over a connection.
    static emsSessionFactory::EmsSessionFactory_I_ptr remoteFactory() {
        const emsSessionFactory::EmsSessionFactory_I_var own =
            NS_KELPCORBA::CorbaAgentConfig::Instance()->GetEmsSessionFactoryIImplObj();
        const CORBA::ORB_var orb = base().GetOrb();
        const CORBA::Object_var object = orb::toReference(orb.in(), wireAddress(own.in()));
        return emsSessionFactory::EmsSessionFactory_I::_unchecked_narrow(object.in());
    }
    /// Return the factory's version, or the exception that the caller received.
    static std::future<std::string> askVersion() {
        const emsSessionFactory::EmsSessionFactory_I_var factory = remoteFactory();
        return std::async(std::launch::async, [factory] {
            const orb::ScopedThreadTimeout bounded(std::chrono::seconds(40));
            try {
                const CORBA::String_var version = factory->getVersion();
                return std::string(version.in());
            } catch (const CORBA::Exception& failure) {
                return std::string(failure._name());
            }
        });
    }
};

TEST_F(Callers, AreServedWhileTheAgentRuns) {
    configureAgent();
    ASSERT_TRUE(start());
    EXPECT_EQ(askVersion().get(), "3.5");
}

TEST_F(Callers, WaitUntilTheAgentServerIsActivated) {
    configureAgent();
    ASSERT_EQ(NS_KELPCORBA::AgentServerFacade::Init(), 0);
    needsStop_ = true;
    EXPECT_EQ(trace_.count("[AgentServerFacade::Init] end POAManager state = 0\n"), 1u);
    EXPECT_EQ(trace_.count("[AgentServerFacade::Init] end hold_requests\n"), 1u);
    ScriptedInterceptor everybody;
    base().SetReqInterceptorImpl(&everybody);
    auto version = askVersion();
    EXPECT_EQ(version.wait_for(std::chrono::milliseconds(500)), std::future_status::timeout);
    ASSERT_EQ(NS_CORBA::AgentServer::Activate(), 0);
    EXPECT_EQ(version.get(), "3.5");
    stop();
}

TEST_F(Callers, WaitUntilAnInterceptorChecksThem) {
    configureAgent();
    ASSERT_EQ(NS_KELPCORBA::AgentServerFacade::Init(), 0);
    needsStop_ = true;
    ASSERT_EQ(NS_CORBA::AgentServer::Activate(), 0);
    auto version = askVersion();
    EXPECT_EQ(version.wait_for(std::chrono::milliseconds(500)), std::future_status::timeout);
    ScriptedInterceptor everybody;
    base().SetReqInterceptorImpl(&everybody);
    EXPECT_EQ(version.get(), "3.5");
    EXPECT_EQ(everybody.requests, 1);
    stop();
}

TEST_F(Callers, ThatWaitAreRefusedWhenTheStartFails) {
    configureAgent();
    std::future<std::string> version;
    enterInterface("Failing", 1).onInit = [&version] {
        version = askVersion();
        return version.wait_for(std::chrono::milliseconds(500)) == std::future_status::ready;
    };
    EXPECT_FALSE(start());
    ASSERT_EQ(version.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_THAT(version.get(), kRefused);
}

TEST_F(Callers, ThatWaitWithoutAnInterceptorAreRefusedByTheStop) {
    configureAgent();
    ASSERT_EQ(NS_KELPCORBA::AgentServerFacade::Init(), 0);
    needsStop_ = true;
    auto version = askVersion();
    EXPECT_EQ(version.wait_for(std::chrono::milliseconds(500)), std::future_status::timeout);
    stop();
    ASSERT_EQ(version.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_THAT(version.get(), kRefused);
    expectNothingRuns();
}

TEST_F(Callers, AreNotifiedOfAnEventLossThatTheSupplierManagerReports) {
    // the test NMS's reference contains another spelling of the loopback address, which reaches
    // this process
    configureAgent("ping_interval_s = 1", freePort(), "[access]\nnms_reference = \"any\"\n");
    kelp::users::UserDatabase(folder_.path() / "users.db")
        .add("nms", "secret", kelp::users::HashCost{8, 1});
    ASSERT_TRUE(start());
    const CORBA::ORB_var orb = base().GetOrb();
    const PortableServer::POA_var root = base().GetRootPoa();
    const TestNms nms(orb.in(), root.in(), 1);
    const emsSessionFactory::EmsSessionFactory_I_var factory = remoteFactory();
    emsSession::EmsSession_I_var session;
    factory->getEmsSession("nms", "secret", nms.reference(), session.out());

    NS_CORBA::CallBackProcessBase* callBack = NS_CORBA::SuppilerMgr::Instance()->GetCallBack();
    ASSERT_NE(callBack, nullptr);
    callBack->OnEventLossOccurred("20260101120000.0Z", "4711");
    EXPECT_TRUE(waitUntil([&] { return nms->losses > 0; }));
    callBack->OnEventLossCleared("20260101120100.0Z");
    EXPECT_TRUE(waitUntil([&] { return nms->clears > 0; }));
    EXPECT_THAT(nms->texts(), testing::ElementsAre("occurred 20260101120000.0Z 4711",
                                                   "cleared 20260101120100.0Z"));
}

}  // namespace
}  // namespace kelp::test
