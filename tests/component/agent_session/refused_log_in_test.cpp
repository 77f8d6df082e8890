// A refused log-in changes nothing: the existing session of the NMS named in it continues.

#include <gtest/gtest.h>
#include <kelp/agent/error_translation.h>
#include <kelp/orb/poas.h>
#include <kelp/users/user_database.h>

#include <functional>

#include "adapter/session_source.h"
#include "support/agent_fixture.h"
#include "support/tcp_relay.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

/// Log in from 127.0.0.2 with the reference of `nms`. Return the error code, or 0 on success.
unsigned long logInFromElsewhere(RunningAgent& agent, const TestNms& nms, const std::string& user,
                                 const std::string& password) {
    const TcpRelay relay(agent.port(), "127.0.0.2");
    const CORBA::Object_var remote = referenceOverTheWire(
        agent.orb(), CorbaAgentConfig::Instance()->GetEmsSessionFactoryIImplObj(), "127.0.0.1",
        relay.port());
    const auto factory = emsSessionFactory::EmsSessionFactory_I::_unchecked_narrow(remote.in());
    return refusalOf([&] {
        emsSession::EmsSession_I_var session;
        factory->getEmsSession(user.c_str(), password.c_str(), nms.reference(), session.out());
    });
}

void changeAccount(const std::function<void(kelp::users::UserDatabase&)>& change) {
    kelp::users::UserDatabase database(kelp::users::userDatabaseFile(),
                                       kelp::users::UserDatabase::Missing::IsAnError);
    change(database);
}

class RefusedLogin : public testing::TestWithParam<AgentOptions> {
  protected:
    RefusedLogin() : agent_(GetParam()) {
        session_ = agent_.overTheWire<emsSession::EmsSession_I>(agent_.logIn(agent_.nms()).in());
        agent_.sessions().PinSessions().swap(before_);
    }
    /// Expect that the victim still has the same session and that it works.
    void expectUntouched() {
        const auto now = agent_.sessions().PinSessions();
        ASSERT_EQ(now.size(), before_.size());
        EXPECT_EQ(now.front().get(), before_.front().get());
        EXPECT_EQ(now.front()->source()->get_state(), Normal);
        EXPECT_FALSE(trace_.contains("IP Adress and Port conflict"));
        EXPECT_FALSE(trace_.contains("remove the old session"));
        EXPECT_EQ(agent_.liveLogins(agent_.nms()), 1u);
        const nmsSession::NmsSession_I_var nms = now.front()->source()->get_nms_session();
        EXPECT_TRUE(nms->_is_equivalent(agent_.nms().reference()));
        session_->ping();
        common::Common_I_var manager;
        session_->getManager("EMS", manager.out());
        EXPECT_FALSE(CORBA::is_nil(manager.in()));
    }

    RunningAgent agent_;
    TraceCapture trace_;
    emsSession::EmsSession_I_var session_;
    std::vector<ServantRef<EmsSession_IImpl>> before_;
};

TEST_P(RefusedLogin, WithAWrongPasswordLeavesTheSessionAlone) {
    EXPECT_EQ(logInFromElsewhere(agent_, agent_.nms(), "admin", "guess"), NS_CORBA::kWrongPassword);
    expectUntouched();
    const TestNms restarted(agent_.orb(), agent_.root(), 1);
    ASSERT_EQ(restarted.hostInfo(), agent_.nms().hostInfo());
    EXPECT_EQ(refusalOf([&] { agent_.logIn(restarted, "admin", "guess"); }),
              NS_CORBA::kWrongPassword);
    expectUntouched();
}

TEST_P(RefusedLogin, OfALockedOutCallerLeavesTheSessionAloneEvenWithTheRightPassword) {
    for (int i = 0; i < GetParam().lockoutFailures; ++i)
        EXPECT_EQ(logInFromElsewhere(agent_, agent_.nms(), "admin", "guess"),
                  NS_CORBA::kWrongPassword);
    EXPECT_EQ(logInFromElsewhere(agent_, agent_.nms(), "admin", RunningAgent::kPassword),
              NS_CORBA::kUserLockedOut);
    expectUntouched();
}

TEST_P(RefusedLogin, FromANetworkThatTheAccountDoesNotAllowLeavesTheSessionAlone) {
    changeAccount(
        [](kelp::users::UserDatabase& users) { users.setNetworks("admin", {"127.0.0.1"}); });
    EXPECT_EQ(logInFromElsewhere(agent_, agent_.nms(), "admin", RunningAgent::kPassword),
              NS_CORBA::kAddressNotAllowed);
    expectUntouched();
}

TEST_P(RefusedLogin, WithoutAUsableDatabaseLeavesTheSessionAlone) {
    const std::filesystem::path file = kelp::users::userDatabaseFile();
    std::filesystem::rename(file, file.string() + ".away");
    EXPECT_EQ(logInFromElsewhere(agent_, agent_.nms(), "admin", RunningAgent::kPassword),
              NS_CORBA::kUserDatabaseUnusable);
    expectUntouched();
    std::filesystem::rename(file.string() + ".away", file);
}

TEST_P(RefusedLogin, LeavesASessionAloneThatIsOverAlready) {
    before_.front()->source()->set_state(Ended);
    EXPECT_EQ(logInFromElsewhere(agent_, agent_.nms(), "admin", "guess"), NS_CORBA::kWrongPassword);
    EXPECT_FALSE(trace_.contains("IP Adress and Port conflict"));
    EXPECT_EQ(agent_.liveLogins(agent_.nms()), 1u) << "only a round or a log-in ends it";
}

TEST_P(RefusedLogin, IsFollowedByOneThatTakesTheSessionOver) {
    EXPECT_EQ(logInFromElsewhere(agent_, agent_.nms(), "admin", "guess"), NS_CORBA::kWrongPassword);
    EXPECT_EQ(logInFromElsewhere(agent_, agent_.nms(), "admin", RunningAgent::kPassword), 0u);
    EXPECT_EQ(agent_.listed(agent_.nms()).get() == before_.front().get(), GetParam().reuse);
    EXPECT_EQ(agent_.sessions().SessionCount(), 1u);
    EXPECT_EQ(agent_.liveLogins(agent_.nms()), 1u);
}

INSTANTIATE_TEST_SUITE_P(
    Strategies, RefusedLogin,
    testing::Values(AgentOptions{}, AgentOptions().withReuse(), AgentOptions().with(1, true),
                    AgentOptions().with(1, false), AgentOptions().with(1, false).withReuse(),
                    AgentOptions{.releaseStrategy = 2, .silentTimeS = 86400},
                    AgentOptions{.releaseStrategy = 2, .pingMode = false, .silentTimeS = 86400},
                    AgentOptions{.releaseStrategy = 2,
                                 .pingMode = false,
                                 .silentTimeS = 86400,
                                 .reuse = true}));

}  // namespace
