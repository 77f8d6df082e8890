// Limits for sessions of an account and of an address, for calls from an address without a log-in,
// and for the length of names and passwords. Calls go over real connections from several addresses.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/agent/error_translation.h>
#include <kelp/corbabase/security_mgr.h>

#include <optional>
#include <string>
#include <vector>

#include "component/corbabase/open_logs.h"
#include "support/agent_fixture.h"
#include "support/tcp_relay.h"
#include "support/trace_capture.h"

namespace kelp::test {
namespace {

using NS_CORBA::kOverlongLogIn;
using NS_CORBA::kTooManyAccountSessions;
using NS_CORBA::kTooManyAddressSessions;

/// Makes calls from an address.
class CallsFrom {
  public:
    CallsFrom(RunningAgent& agent, const std::string& source)
        : agent_(agent), relay_(agent.port(), source) {}

    emsSessionFactory::EmsSessionFactory_I_var factory() const {
        const emsSessionFactory::EmsSessionFactory_I_var own =
            NS_KELPCORBA::CorbaAgentConfig::Instance()->GetEmsSessionFactoryIImplObj();
        const CORBA::Object_var remote =
            referenceOverTheWire(agent_.orb(), own.in(), "127.0.0.1", relay_.port());
        return emsSessionFactory::EmsSessionFactory_I_var(
            emsSessionFactory::EmsSessionFactory_I::_unchecked_narrow(remote.in()));
    }
    /// Log an NMS in. Return the error code, or 0 on success.
    unsigned long logIn(unsigned nms, const std::string& user = RunningAgent::kUser,
                        const std::string& password = RunningAgent::kPassword) {
        const emsSessionFactory::EmsSessionFactory_I_var remote = factory();
        return refusalOf([&] {
            emsSession::EmsSession_I_var session;
            remote->getEmsSession(user.c_str(), password.c_str(), agent_.nms(nms).reference(),
                                  session.out());
        });
    }
    void logOut(unsigned nms, const std::string& user = RunningAgent::kUser) const {
        RunningAgent::listed(agent_.nms(nms), user)->endSession();
    }
    /// Return how many of these calls are refused because of the rate.
    int refusedOf(int calls) const {
        const emsSessionFactory::EmsSessionFactory_I_var remote = factory();
        int refused = 0;
        for (int i = 0; i < calls; ++i) {
            try {
                const CORBA::String_var version = remote->getVersion();
            } catch (const CORBA::TRANSIENT&) {
                ++refused;
            }
        }
        return refused;
    }

  private:
    RunningAgent& agent_;
    TcpRelay relay_;
};

TEST(SessionQuota, OfAnAccountHoldsWhereverItLogsInFromUntilALogOut) {
    RunningAgent agent(AgentOptions().withSession("per_account_max = 2\n"));
    agent.addUser("other");
    CallsFrom here(agent, "127.0.0.2");
    CallsFrom there(agent, "127.0.0.3");
    EXPECT_EQ(here.logIn(1), 0ul);
    EXPECT_EQ(here.logIn(2), 0ul);
    EXPECT_EQ(here.logIn(3), kTooManyAccountSessions);
    EXPECT_EQ(there.logIn(3), kTooManyAccountSessions) << "from wherever";
    EXPECT_EQ(here.logIn(3, "other"), 0ul) << "another account";
    here.logOut(1);
    EXPECT_TRUE(waitUntil([&] { return here.logIn(3) == 0; }));
}

TEST(SessionQuota, OfAnAddressCountsWhateverAccounts) {
    RunningAgent agent(AgentOptions().withSession("per_address_max = 2\n"));
    agent.addUser("other");
    CallsFrom here(agent, "127.0.0.2");
    CallsFrom there(agent, "127.0.0.3");
    EXPECT_EQ(here.logIn(1), 0ul);
    EXPECT_EQ(here.logIn(2, "other"), 0ul);
    EXPECT_EQ(here.logIn(3), kTooManyAddressSessions);
    EXPECT_EQ(there.logIn(3), 0ul) << "another address";
    here.logOut(1);
    EXPECT_TRUE(waitUntil([&] { return here.logIn(4) == 0; }));
}

TEST(SessionQuota, DoesNotCountTheSessionThatALogInReplacesOrReuses) {
    for (const bool reuse : {false, true}) {
        AgentOptions options =
            AgentOptions().withSession("per_account_max = 1\nper_address_max = 1\n");
        options.reuse = reuse;
        RunningAgent agent(options);
        CallsFrom here(agent, "127.0.0.2");
        EXPECT_EQ(here.logIn(1), 0ul);
        EXPECT_EQ(here.logIn(1), 0ul) << "reuse: " << reuse;
        EXPECT_EQ(RunningAgent::liveLogins(agent.nms(1)), 1u);
        EXPECT_EQ(here.logIn(2), kTooManyAccountSessions);
    }
}

TEST(SessionQuota, ARefusedLogInDoesNotEndTheSessionThatItWouldReplace) {
    RunningAgent agent(AgentOptions().withSession("per_address_max = 1\n"));
    agent.addUser("other");
    CallsFrom here(agent, "127.0.0.2");
    CallsFrom there(agent, "127.0.0.3");
    EXPECT_EQ(here.logIn(1), 0ul);
    EXPECT_EQ(there.logIn(2, "other"), 0ul);
    EXPECT_EQ(there.logIn(1), kTooManyAddressSessions);
    EXPECT_TRUE(RunningAgent::listed(agent.nms(1)));
}

TEST(SessionQuota, FollowsTheConfiguration) {
    RunningAgent agent(AgentOptions().withSession("per_account_max = 1\n"));
    CallsFrom here(agent, "127.0.0.2");
    EXPECT_EQ(here.logIn(1), 0ul);
    EXPECT_EQ(here.logIn(2), kTooManyAccountSessions);
    agent.configure(AgentOptions().withSession("per_account_max = 2\n"));
    EXPECT_EQ(here.logIn(2), 0ul);
    agent.configure(AgentOptions().withSession("per_account_max = 1\n"));
    EXPECT_EQ(here.logIn(2), 0ul) << "it replaces its own, and raises nothing";
    EXPECT_EQ(here.logIn(3), kTooManyAccountSessions);
}

TEST(SessionQuota, RefusalsAreAccessDeniedAndAppearInTheSecurityLog) {
    const TemporaryDirectory folder;
    RunningAgent agent(
        AgentOptions().withSession("per_account_max = 1\n").withTables(OpenLogs::toml(folder)));
    const OpenLogs logs(folder);
    CallsFrom here(agent, "127.0.0.2");
    EXPECT_EQ(here.logIn(1), 0ul);
    EXPECT_EQ(here.logIn(2), kTooManyAccountSessions);
    globaldefs::ProcessingFailureException refusal;
    NS_KELPCORBA::ConstructException(kTooManyAddressSessions, refusal);
    EXPECT_EQ(refusal.exceptionType, globaldefs::EXCPT_ACCESS_DENIED);
    std::vector<oplog::LogEntry> told = logs.security();
    std::erase_if(told, [](const oplog::LogEntry& each) { return each.operation != "login"; });
    ASSERT_EQ(told.size(), 2u);
    EXPECT_EQ(told[1].user, RunningAgent::kUser);
    EXPECT_EQ(told[1].outcome, "too many sessions of the account");
}

TEST(RequestsWithoutLogIn, AreLimitedByAddressUntilSomebodyLogsInThere) {
    RunningAgent agent(AgentOptions().withAccess(
        "requests_per_second_before_login = 1\nrequests_burst_before_login = 5\n"));
    CallsFrom here(agent, "127.0.0.2");
    CallsFrom there(agent, "127.0.0.3");
    EXPECT_GT(here.refusedOf(50), 20);
    EXPECT_EQ(there.logIn(1), 0ul) << "another address";
    EXPECT_EQ(there.refusedOf(200), 0) << "somebody is logged in there";
    EXPECT_GT(here.refusedOf(50), 20);
    RunningAgent::listed(agent.nms(1))->endSession();
    EXPECT_TRUE(waitUntil([&] { return there.refusedOf(50) > 0; })) << "nobody is any more";
}

TEST(RequestsWithoutLogIn, DoNotCountWhenTheyReachASession) {
    RunningAgent agent(AgentOptions().withAccess(
        "requests_per_second_before_login = 1\nrequests_burst_before_login = 5\n"));
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto remote = agent.overTheWire<emsSession::EmsSession_I>(session.in());
    for (int i = 0; i < 200; ++i)
        EXPECT_NO_THROW(remote->ping());
}

TEST(LengthsOfALogIn, AreRefusedBeforeAnythingSeesThem) {
    RunningAgent agent;
    CallsFrom here(agent, "127.0.0.2");
    const TraceCapture trace;
    const std::string longest(1024, 'x');
    const std::string tooLong(1025, 'y');
    EXPECT_EQ(here.logIn(1, longest, longest), NS_CORBA::kWrongPassword);
    EXPECT_EQ(here.logIn(1, tooLong), kOverlongLogIn);
    EXPECT_EQ(here.logIn(1, RunningAgent::kUser, tooLong), kOverlongLogIn);
    EXPECT_EQ(here.logIn(1, RunningAgent::kUser, std::string(60000, 'y')), kOverlongLogIn);
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(here.logIn(1, RunningAgent::kUser, tooLong), kOverlongLogIn);
    EXPECT_EQ(here.logIn(1), 0ul) << "they count as no wrong password";
    EXPECT_FALSE(trace.contains("yyyy"));
    globaldefs::ProcessingFailureException refusal;
    NS_KELPCORBA::ConstructException(kOverlongLogIn, refusal);
    EXPECT_EQ(refusal.exceptionType, globaldefs::EXCPT_INVALID_INPUT);
}

}  // namespace
}  // namespace kelp::test
