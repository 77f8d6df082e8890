// Who may log in from where, over real connections from several addresses, and whose session ends
// with its account.

#include <SQLiteCpp/SQLiteCpp.h>
#include <gtest/gtest.h>
#include <kelp/agent/error_translation.h>
#include <kelp/users/user_database.h>

#include <functional>
#include <memory>
#include <optional>

#include "support/agent_fixture.h"
#include "support/tcp_relay.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using namespace NS_CORBA;
using namespace kelp::users;

std::int64_t nowUtc() {
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

/// Change the user "admin" as the operator does with kelpctl: through a separate database
/// connection.
template <class Change>
void operatorDoes(Change change) {
    UserDatabase database(userDatabaseFile(), UserDatabase::Missing::IsAnError);
    change(database);
}

/// Makes calls from an address.
class Way {
  public:
    Way(RunningAgent& agent, const std::string& source)
        : agent_(agent), relay_(agent.port(), source) {}

    /// Log in and end the session again. Return the error code, or 0 on success.
    unsigned long logIn(const std::string& user, const std::string& password) {
        const emsSessionFactory::EmsSessionFactory_I_var own =
            NS_KELPCORBA::CorbaAgentConfig::Instance()->GetEmsSessionFactoryIImplObj();
        const CORBA::Object_var remote =
            referenceOverTheWire(agent_.orb(), own.in(), "127.0.0.1", relay_.port());
        const emsSessionFactory::EmsSessionFactory_I_var factory =
            emsSessionFactory::EmsSessionFactory_I::_unchecked_narrow(remote.in());
        return refusalOf([&] {
            emsSession::EmsSession_I_var session;
            factory->getEmsSession(user.c_str(), password.c_str(), agent_.nms(9).reference(),
                                   session.out());
            session->endSession();
        });
    }
    unsigned long logInRight() { return logIn("admin", RunningAgent::kPassword); }
    unsigned long logInWrong(const std::string& user = "admin") { return logIn(user, "not it"); }

  private:
    RunningAgent& agent_;
    TcpRelay relay_;
};

TEST(LoginSecurity, ALockOutHoldsAtTheConnectionsAddressWhateverTheNmsReferenceSays) {
    RunningAgent agent;
    Way bad(agent, "127.0.0.2");
    Way good(agent, "127.0.0.3");
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(bad.logInWrong(), kWrongPassword);
    EXPECT_EQ(bad.logInRight(), kUserLockedOut);
    // both log-ins name the same NMS reference
    EXPECT_EQ(good.logInRight(), 0u);
    EXPECT_EQ(bad.logInRight(), kUserLockedOut);
}

TEST(LoginSecurity, AnUnknownUserIsRefusedLikeAKnownOneWithAWrongPassword) {
    RunningAgent agent;
    Way way(agent, "127.0.0.2");
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(way.logInWrong("nobody"), kWrongPassword);
    EXPECT_EQ(way.logInWrong("nobody"), kUserLockedOut);
    EXPECT_EQ(way.logInRight(), 0u);
}

TEST(LoginSecurity, AFloodFromOneAddressDoesNotLockOutOthers) {
    RunningAgent agent;
    Way bad(agent, "127.0.0.2");
    Way good(agent, "127.0.0.3");
    for (int i = 0; i < 300; ++i)
        EXPECT_NE(bad.logInWrong("name" + std::to_string(i)), 0u);
    EXPECT_EQ(bad.logInRight(), kUserLockedOut);
    EXPECT_EQ(good.logInRight(), 0u);
}

TEST(LoginSecurity, TheConfiguredNumberOfFailuresCounts) {
    AgentOptions options;
    options.lockoutFailures = 2;
    options.lockoutS = 1;
    RunningAgent agent(options);
    Way way(agent, "127.0.0.2");
    EXPECT_EQ(way.logInWrong(), kWrongPassword);
    EXPECT_EQ(way.logInWrong(), kWrongPassword);
    EXPECT_EQ(way.logInRight(), kUserLockedOut);
    EXPECT_TRUE(waitUntil([&] { return way.logInRight() == 0; })) << "it ends by itself";
}

TEST(LoginSecurity, TheOperatorLiftsALockOut) {
    RunningAgent agent;
    Way way(agent, "127.0.0.2");
    for (int i = 0; i < 5; ++i)
        way.logInWrong();
    EXPECT_EQ(way.logInRight(), kUserLockedOut);
    // repeated until the agent has noticed that the account is unlocked
    EXPECT_TRUE(waitUntil([&] {
        operatorDoes([](UserDatabase& database) { database.unlock("admin"); });
        return way.logInRight() == 0;
    }));
}

TEST(LoginSecurity, AUserWithNetworksLogsInFromThereOnly) {
    RunningAgent agent;
    operatorDoes([](UserDatabase& database) {
        database.setNetworks("admin", {"127.0.0.2/32", "2001:db8::/32"});
    });
    Way allowed(agent, "127.0.0.2");
    Way other(agent, "127.0.0.3");
    EXPECT_EQ(allowed.logInRight(), 0u);
    EXPECT_EQ(other.logInRight(), kAddressNotAllowed);
    EXPECT_EQ(other.logInWrong(), kWrongPassword)
        << "told only to a caller with the right password";
    operatorDoes([](UserDatabase& database) { database.setNetworks("admin", {}); });
    EXPECT_EQ(other.logInRight(), 0u);
}

TEST(LoginSecurity, AUserBoundToACertificateDoesNotLogInWithoutOne) {
    RunningAgent agent;
    operatorDoes(
        [](UserDatabase& database) { database.setSubjects("admin", {"CN=nms1,O=Operator"}); });
    Way way(agent, "127.0.0.2");
    EXPECT_EQ(way.logInRight(), kCertificateNotAllowed);
    EXPECT_EQ(way.logInWrong(), kWrongPassword) << "told only to a caller with the right password";
    operatorDoes([](UserDatabase& database) { database.setNetworks("admin", {"127.0.0.3"}); });
    EXPECT_EQ(way.logInRight(), kAddressNotAllowed) << "the address is looked at first";
    operatorDoes([](UserDatabase& database) {
        database.setNetworks("admin", {});
        database.setSubjects("admin", {});
    });
    EXPECT_EQ(way.logInRight(), 0u);
}

TEST(LoginSecurity, ExpiryIsReportedOnlyWithTheRightPassword) {
    RunningAgent agent;
    operatorDoes([](UserDatabase& database) { database.setExpiry("admin", nowUtc() - 1); });
    Way way(agent, "127.0.0.2");
    EXPECT_EQ(way.logInRight(), kUserExpired);
    EXPECT_EQ(way.logInWrong(), kWrongPassword);
    operatorDoes([](UserDatabase& database) { database.setExpiry("admin", nowUtc() + 3600); });
    EXPECT_EQ(way.logInRight(), 0u);
}

TEST(LoginSecurity, EveryRefusalIsAccessDenied) {
    RunningAgent agent;
    for (const unsigned long code :
         {kWrongPassword, kUserDisabled, kUserDatabaseUnusable, kUserLockedOut, kUserExpired,
          kAddressNotAllowed, kCertificateNotAllowed}) {
        try {
            NS_KELPCORBA::ThrowException(code);
            ADD_FAILURE() << "no exception";
        } catch (const globaldefs::ProcessingFailureException& refusal) {
            EXPECT_EQ(refusal.exceptionType, globaldefs::EXCPT_ACCESS_DENIED) << std::hex << code;
        }
    }
}

TEST(LoginSecurity, NoPasswordIsTraced) {
    RunningAgent agent;
    const TraceCapture trace;
    Way way(agent, "127.0.0.2");
    for (int i = 0; i < 7; ++i) {
        way.logIn("admin", "open sesame");
        way.logIn("sesame as a name", "open sesame");
    }
    operatorDoes([](UserDatabase& database) { database.setEnabled("admin", false); });
    Way other(agent, "127.0.0.3");
    EXPECT_EQ(other.logIn("admin", RunningAgent::kPassword), kUserDisabled);
    EXPECT_TRUE(trace.contains("user \"admin\" is locked out at 127.0.0.2 for 300 s"));
    EXPECT_TRUE(trace.contains("an unknown user is locked out at 127.0.0.2 for 300 s"));
    EXPECT_TRUE(
        trace.contains("User \"admin\" from 127.0.0.3 is refused: the account is disabled"));
    EXPECT_FALSE(trace.contains("sesame"));
    EXPECT_FALSE(trace.contains(RunningAgent::kPassword));
}

// -- accounts that end while their users are logged in

/// A change that ends an account while its user is logged in.
struct AccountEnd {
    std::string name;
    std::function<void(UserDatabase&)> apply;
    std::function<void(UserDatabase&)> undo;
};

void PrintTo(const AccountEnd& end, std::ostream* out) {
    *out << end.name;
}

class AccountEnds : public testing::TestWithParam<AccountEnd> {};

TEST_P(AccountEnds, EndsEachSessionOfTheUserWithinASecondAndNobodyElses) {
    RunningAgent agent;
    agent.addUser("second");
    const emsSession::EmsSession_I_var bystander = agent.logIn(agent.nms(), "second");
    // the best of a few rounds counts, because other tests keep the processors busy
    std::chrono::milliseconds best = std::chrono::hours(1);
    for (int round = 0; round < 5 && best > std::chrono::seconds(1); ++round) {
        const emsSession::EmsSession_I_var one = agent.logIn(agent.nms(1));
        const emsSession::EmsSession_I_var two = agent.logIn(agent.nms(2));
        one->ping();
        operatorDoes(GetParam().apply);
        const auto start = std::chrono::steady_clock::now();
        ASSERT_TRUE(waitUntil(
            [&] { return isGone([&] { one->ping(); }) && isGone([&] { two->ping(); }); }));
        best = std::min(best, std::chrono::duration_cast<std::chrono::milliseconds>(
                                  std::chrono::steady_clock::now() - start));
        EXPECT_TRUE(waitUntil([&] { return agent.liveLogins(agent.nms(1)) == 0; }));
        EXPECT_TRUE(waitUntil([&] { return agent.liveLogins(agent.nms(2)) == 0; }));
        operatorDoes(GetParam().undo);
    }
    EXPECT_LE(best.count(), 1000);
    bystander->ping();
    EXPECT_EQ(agent.liveLogins(agent.nms(), "second"), 1u);
}

INSTANTIATE_TEST_SUITE_P(
    LoginSecurity, AccountEnds,
    testing::Values(
        AccountEnd{"Disabled", [](UserDatabase& database) { database.setEnabled("admin", false); },
                   [](UserDatabase& database) { database.setEnabled("admin", true); }},
        AccountEnd{"Removed", [](UserDatabase& database) { database.remove("admin"); },
                   [](UserDatabase& database) {
                       database.add("admin", RunningAgent::kPassword, configuredHashCost());
                   }},
        AccountEnd{"NewPassword",
                   [](UserDatabase& database) {
                       database.setPassword("admin", "other", configuredHashCost());
                   },
                   [](UserDatabase& database) {
                       database.setPassword("admin", RunningAgent::kPassword, configuredHashCost());
                   }},
        AccountEnd{"BoundToACertificate",
                   [](UserDatabase& database) { database.setSubjects("admin", {"CN=nms1"}); },
                   [](UserDatabase& database) { database.setSubjects("admin", {}); }},
        AccountEnd{"Expired", [](UserDatabase& database) { database.setExpiry("admin", nowUtc()); },
                   [](UserDatabase& database) { database.setExpiry("admin", std::nullopt); }}),
    [](const auto& param) { return param.param.name; });

TEST(LoginSecurity, ASessionEndsWhenItsAccountExpiresByItself) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    operatorDoes([](UserDatabase& database) { database.setExpiry("admin", nowUtc() + 2); });
    session->ping();
    EXPECT_TRUE(waitUntil([&] { return isGone([&] { session->ping(); }); }));
    Way way(agent, "127.0.0.2");
    EXPECT_EQ(way.logInRight(), kUserExpired);
}

TEST(LoginSecurity, NetworksAndUnlocksLeaveSessionsAlone) {
    RunningAgent agent;
    agent.addUser("second");
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const emsSession::EmsSession_I_var other = agent.logIn(agent.nms(), "second");
    operatorDoes([](UserDatabase& database) {
        database.setNetworks("admin", {"10.0.0.0/8"});
        database.unlock("admin");
        database.setExpiry("admin", nowUtc() + 3600);
        database.remove("second");
    });
    // the agent has seen the last of the changes, so it has seen all of them
    EXPECT_TRUE(waitUntil([&] { return isGone([&] { other->ping(); }); }));
    session->ping();
}

TEST(LoginSecurity, ADatabaseThatCannotBeReadEndsNoSessionAndHealsByItself) {
    RunningAgent agent;
    const TraceCapture trace;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    Way way(agent, "127.0.0.2");
    const std::filesystem::path file = userDatabaseFile();
    const std::filesystem::path away = file.string() + ".away";

    std::filesystem::rename(file, away);
    EXPECT_EQ(way.logInRight(), kUserDatabaseUnusable);
    EXPECT_TRUE(trace.waitFor("does not exist; until it can be read nobody can log in"));
    session->ping();
    std::filesystem::rename(away, file);
    EXPECT_TRUE(trace.waitFor("the user database can be read again"));
    EXPECT_EQ(way.logInRight(), 0u);

    const std::string good = contentOf(file);
    std::ofstream(file, std::ios::binary | std::ios::trunc) << std::string(8192, 'x');
    EXPECT_EQ(way.logInRight(), kUserDatabaseUnusable);
    EXPECT_TRUE(trace.waitFor("file is not a database; until it can be read nobody can log in"));
    session->ping();
    std::ofstream(file, std::ios::binary | std::ios::trunc) << good;
    EXPECT_TRUE(waitUntil([&] { return way.logInRight() == 0; }));

    {
        SQLite::Database other(file.string(), SQLite::OPEN_READWRITE);
        SQLite::Transaction holding(other, SQLite::TransactionBehavior::EXCLUSIVE);
        EXPECT_EQ(way.logInRight(), kUserDatabaseUnusable);
        session->ping();
    }
    EXPECT_EQ(way.logInRight(), 0u);
    session->ping();
    // the agent notices changes again
    operatorDoes([](UserDatabase& database) { database.setEnabled("admin", false); });
    EXPECT_TRUE(waitUntil([&] { return isGone([&] { session->ping(); }); }));
}

}  // namespace
