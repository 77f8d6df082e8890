// Callers from networks that are not allowed.

#include <gtest/gtest.h>

#include <algorithm>

#include "component/corbabase/open_logs.h"
#include "support/agent_fixture.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using NS_BUNDLEMGR1::ConfigStore;

/// Configure the agent with these allowed networks.
void allow(const std::string& networks) {
    EXPECT_TRUE(ConfigStore::instance()
                    .loadText("[access]\nrequests_per_second_before_login = 0\nallowed_oss = [" +
                                  networks + "]\n",
                              "t")
                    .empty());
}

/// Calls every operation that an NMS can call, each over a connection. Counts how many are refused
/// with NO_PERMISSION.
class EveryOperation {
  public:
    explicit EveryOperation(RunningAgent& agent)
        : factory_(agent.remoteFactory()),
          nms_(agent.nms(2)),
          own_(agent.logIn(agent.nms(1))),
          session_(agent.overTheWire<emsSession::EmsSession_I>(own_.in())),
          manager_(agent.remoteManager(own_.in())) {
        // connect while this is still allowed
        const CORBA::String_var version = factory_->getVersion();
    }

    int refused() {
        count_ = 0;
        call([&] { const CORBA::String_var version = factory_->getVersion(); });
        call([&] {
            emsSession::EmsSession_I_var session;
            factory_->getEmsSession(RunningAgent::kUser, RunningAgent::kPassword, nms_.reference(),
                                    session.out());
        });
        call([&] { session_->ping(); });
        call([&] {
            emsSession::EmsSession_I::managerNames_T_var names;
            session_->getSupportedManagers(names.out());
        });
        call([&] {
            common::Common_I_var manager;
            session_->getManager("EMS", manager.out());
        });
        call([&] {
            CosNotifyChannelAdmin::EventChannel_var channel;
            session_->getEventChannel(channel.out());
        });
        call([&] { const session::Session_I_var associated = session_->associatedSession(); });
        call([&] { (void)session_->_non_existent(); });
        // ask for a type that the client cannot check locally
        call([&] { (void)session_->_is_a("IDL:example.org/Another:1.0"); });
        call([&] {
            common::CapabilityList_T_var capabilities;
            manager_->getCapabilities(capabilities.out());
        });
        call([&] { (void)manager_->_non_existent(); });
        return count_;
    }
    static constexpr int kAll = 11;
    emsSession::EmsSession_I_ptr session() { return session_.in(); }

  private:
    template <class Call>
    void call(Call operation) {
        try {
            operation();
        } catch (const CORBA::NO_PERMISSION& refusal) {
            EXPECT_EQ(refusal.minor(), 0u);
            EXPECT_EQ(refusal.completed(), CORBA::COMPLETED_NO);
            ++count_;
        } catch (const CORBA::Exception&) {
            // the call passed the admission check, even if it failed later
        }
    }

    emsSessionFactory::EmsSessionFactory_I_var factory_;
    TestNms& nms_;
    emsSession::EmsSession_I_var own_;
    emsSession::EmsSession_I_var session_;
    common::Common_I_var manager_;
    int count_ = 0;
};

TEST(Admission, RefusesEveryOperationFromElsewhere) {
    RunningAgent agent;
    EveryOperation operations(agent);
    allow("\"10.0.0.0/8\"");
    const TraceCapture trace;
    EXPECT_EQ(operations.refused(), EveryOperation::kAll);
    EXPECT_TRUE(trace.contains(
        "[Server_Request_Interceptor::receive_request] No Permission Client! Peer IP:127.0.0.1"));
    EXPECT_EQ(agent.liveLogins(agent.nms(2)), 0u);
    // oneway: the caller gets no answer, and the call has no effect
    operations.session()->endSession();
    EXPECT_THROW(operations.session()->ping(), CORBA::NO_PERMISSION);
    EXPECT_EQ(agent.liveLogins(agent.nms(1)), 1u);
}

TEST(Admission, FollowsTheConfigurationWithoutARestart) {
    RunningAgent agent;
    const CORBA::String_var version = agent.remoteFactory()->getVersion();
    allow("\"10.0.0.0/8\"");
    EXPECT_THROW(agent.remoteFactory()->getVersion(), CORBA::NO_PERMISSION);
    allow("\"10.0.0.0/8\", \"127.0.0.1/32\"");
    const CORBA::String_var again = agent.remoteFactory()->getVersion();
    EXPECT_STREQ(again.in(), "3.5");
}

TEST(Admission, StopsCleanlyAfterThousandsOfRefusals) {
    RunningAgent agent;
    const auto factory = agent.remoteFactory();
    allow("");
    std::vector<std::thread> callers;
    std::atomic<int> refused{0};
    for (int i = 0; i < 4; ++i) {
        callers.emplace_back([&] {
            for (int call = 0; call < 1000; ++call) {
                try {
                    const CORBA::String_var version = factory->getVersion();
                } catch (const CORBA::SystemException&) {
                    ++refused;  // the call is refused, or the connection is
                }
            }
        });
    }
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_EQ(refused, 4000);
    agent.stop();
}

TEST(Admission, LeavesTheOperationsOfAllowedCallersInTheOperationLog) {
    const TemporaryDirectory folder;
    ConfigStore::instance().loadText(OpenLogs::toml(folder), "logs");
    const OpenLogs logs(folder);
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto remote = agent.overTheWire<emsSession::EmsSession_I>(session.in());
    remote->ping();
    common::CapabilityList_T_var capabilities;
    agent.remoteManager(session.in())->getCapabilities(capabilities.out());
    const CORBA::String_var version = agent.remoteFactory()->getVersion();
    remote->endSession();
    EXPECT_TRUE(waitUntil([&] { return agent.liveLogins(agent.nms()) == 0; }));
    const std::string of =
        std::string(" ") + RunningAgent::kUser + " " + agent.nms().hostInfo() + " ok";
    agent.stop();
    const auto records = logs.operations();
    std::vector<std::string> told;
    for (const kelp::oplog::LogEntry& each : records) {
        // skip the EMS's calls to the NMS, which lives in this process as well
        if (each.objectKind.empty())
            continue;
        told.push_back(each.operation + " " + each.objectKind + " " + each.object + " " +
                       each.user + " " + each.nmsAddress + " " + each.outcome);
    }
    // records of calls from addresses without a log-in are written by a separate thread
    std::sort(told.begin(), told.end());
    const std::vector<std::string> all = {"endSession session " + of,
                                          "getCapabilities manager EMS" + of,
                                          "getVersion factory    ok", "ping session " + of};
    EXPECT_EQ(told, all);
}

TEST(Admission, RecordsLogInsLogOutsAndLockOutsInTheSecurityLog) {
    const TemporaryDirectory folder;
    ConfigStore::instance().loadText(OpenLogs::toml(folder), "logs");
    const OpenLogs logs(folder);
    RunningAgent agent(AgentOptions{.lockoutFailures = 2});
    agent.logIn(agent.nms())->endSession();
    for (const char* user : {"admin", "admin", "admin", "nobody"})
        EXPECT_NE(refusalOf([&] { agent.logIn(agent.nms(), user, "not the secret"); }), 0u);
    agent.stop();
    std::vector<std::string> told;
    for (const kelp::oplog::LogEntry& each : logs.security())
        told.push_back(each.operation + " " + each.user + " " + each.outcome + " " + each.detail);
    EXPECT_EQ(told, (std::vector<std::string>{
                        "login admin ok ", "logout admin ok ", "login admin wrong password ",
                        "login admin wrong password ", "lock-out admin locked out for 300 s",
                        "login admin locked out ", "login  wrong password no known user"}));
}

}  // namespace
