#include <SQLiteCpp/SQLiteCpp.h>
#include <gtest/gtest.h>
#include <kelp/bundlemgr/light_event.h>
#include <kelp/corbabase/security_mgr.h>
#include <kelp/users/user_database.h>

#include <map>
#include <mutex>
#include <thread>

#include "config_text.h"
#include "support/temporary_directory.h"
#include "support/trace_capture.h"
#include "support/wait_until.h"

using kelp::test::TemporaryDirectory;
using kelp::test::TraceCapture;
using kelp::test::waitUntil;
using kelp::users::UserDatabase;
using NS_CORBA::CorbaSecurityMgr;
using NS_CORBA::kUserDatabaseUnusable;
using NS_CORBA::kUserDisabled;
using NS_CORBA::kWrongPassword;

namespace {

const std::string kHost = "10.0.0.1:5000";
const std::string kOtherHost = "10.0.0.1:5001";

std::string sessionName(const std::string& user) {
    return "<USERNAME_TAG>" + user + "</USERNAME_TAG><IPANDPORT_TAG>" + kHost + "</IPANDPORT_TAG>";
}

/// Collects light events 119 as "IP PORT USN".
class UserStates : public NS_BUNDLEMGR1::LightEventHandler {
  public:
    UserStates() { events().RegisterHandler(NS_BUNDLEMGR1::kUserStateChangeEvent, this); }
    ~UserStates() override {
        events().DeregisterHandler(NS_BUNDLEMGR1::kUserStateChangeEvent, this);
    }

    void DoWork(int, const NS_BUNDLEMGR1::LightEventData* data) override {
        const auto value = [&](const char* key) {
            return NS_BUNDLEMGR1::GetValByKey(data->values, key);
        };
        const std::lock_guard guard(mutex_);
        ++counts_[value("IP") + " " + value("PORT") + " " + value("USN")];
    }
    std::size_t count(const std::string& event) const {
        const std::lock_guard guard(mutex_);
        const auto found = counts_.find(event);
        return found != counts_.end() ? found->second : 0;
    }

  private:
    static NS_BUNDLEMGR1::LightEventMgr& events() {
        return *NS_BUNDLEMGR1::LightEventMgr::Instance();
    }

    mutable std::mutex mutex_;
    std::map<std::string, std::size_t> counts_;
};

class SecurityMgr : public testing::Test {
  protected:
    SecurityMgr() {
        kelp::test::configure("[security]\ndatabase = \"" + file.string() +
                              "\"\nhash_memory_kib = 8\nhash_passes = 1\n");
    }
    ~SecurityMgr() override { CorbaSecurityMgr::Destroy(); }

    static CorbaSecurityMgr& manager() { return *CorbaSecurityMgr::Instance(); }
    void addUser(const std::string& name) {
        UserDatabase(file).add(name, "secret", kelp::users::configuredHashCost());
    }
    std::int64_t idOf(const std::string& name) { return UserDatabase(file).find(name)->id; }

    TemporaryDirectory folder;
    const std::filesystem::path file = folder.path() / "users.db";
};

TEST_F(SecurityMgr, InitMakesTheDatabaseAndSaysHowToAddTheFirstUser) {
    const TraceCapture capture;
    EXPECT_TRUE(manager().Init());
    EXPECT_TRUE(std::filesystem::exists(file));
    EXPECT_TRUE(capture.contains("kelpctl user add"));
}

TEST_F(SecurityMgr, InitFailsOnADatabaseThatCannotBeUsed) {
    folder.write("users.db", std::string(4096, 'x'));
    const TraceCapture capture;
    EXPECT_FALSE(manager().Init());
    EXPECT_TRUE(capture.contains("user database " + file.string() + " is damaged"));
}

TEST_F(SecurityMgr, LoginEntersOneLiveLoginThatLogoutEnds) {
    addUser("nms1");
    EXPECT_EQ(manager().Login(kHost, "nms1", "secret"), 0u);
    EXPECT_EQ(manager().LiveLogins(kHost, "nms1"), 1u);
    EXPECT_EQ(manager().LiveLogins(kOtherHost, "nms1"), 0u);
    EXPECT_EQ(manager().Login(kHost, "nms1", "secret"), 0u);
    EXPECT_EQ(manager().LiveLogins(kHost, "nms1"), 2u);
    manager().Logout(kHost, "nms1");
    EXPECT_EQ(manager().LiveLogins(kHost, "nms1"), 1u);
    manager().Logout(kHost, "nms1");
    EXPECT_EQ(manager().LiveLogins(kHost, "nms1"), 0u);
    manager().Logout(kHost, "nms1");
    EXPECT_EQ(manager().LiveLogins(kHost, "nms1"), 0u);
}

TEST_F(SecurityMgr, AWrongPasswordAndAnUnknownUserAreRefusedAlike) {
    addUser("nms1");
    EXPECT_EQ(manager().Login(kHost, "nms1", "wrong"), kWrongPassword);
    EXPECT_EQ(manager().Login(kHost, "nobody", "secret"), kWrongPassword);
    EXPECT_EQ(manager().Login(kHost, "", ""), kWrongPassword);
    EXPECT_EQ(manager().Login(kHost, "<USERNAME_TAG>", std::string(1024, 'p')), kWrongPassword);
    EXPECT_EQ(manager().Login(kHost, "<USERNAME_TAG>", std::string(1025, 'p')),
              NS_CORBA::kOverlongLogIn);
    EXPECT_EQ(manager().LiveLogins(kHost, "nms1"), 0u);
}

TEST_F(SecurityMgr, ADisabledUserIsReportedOnlyWithTheRightPassword) {
    addUser("nms1");
    UserDatabase(file).setEnabled("nms1", false);
    EXPECT_EQ(manager().Login(kHost, "nms1", "wrong"), kWrongPassword);
    EXPECT_EQ(manager().Login(kHost, "nms1", "secret"), kUserDisabled);
    EXPECT_EQ(manager().LiveLogins(kHost, "nms1"), 0u);
    UserDatabase(file).setEnabled("nms1", true);
    EXPECT_EQ(manager().Login(kHost, "nms1", "secret"), 0u);
}

TEST_F(SecurityMgr, CheckLoginAnswersLikeLoginAndEntersNothing) {
    addUser("nms1");
    EXPECT_EQ(manager().checkLogin(kHost, "nms1", "secret"), 0u);
    EXPECT_EQ(manager().checkLogin(kHost, "nms1", "wrong"), kWrongPassword);
    UserDatabase(file).setEnabled("nms1", false);
    EXPECT_EQ(manager().checkLogin(kHost, "nms1", "secret"), kUserDisabled);
    EXPECT_EQ(manager().LiveLogins(kHost, "nms1"), 0u);
}

TEST_F(SecurityMgr, AnUnusableDatabaseRefusesUntilItIsUsableAgain) {
    addUser("nms1");
    const std::string good = kelp::test::contentOf(file);
    const TraceCapture capture;

    std::filesystem::remove(file);
    EXPECT_EQ(manager().Login(kHost, "nms1", "secret"), kUserDatabaseUnusable);
    EXPECT_TRUE(capture.contains("[CorbaSecurityMgr::Login] user database " + file.string() +
                                 " does not exist"));
    EXPECT_FALSE(std::filesystem::exists(file));

    folder.write("users.db", std::string(4096, 'x'));
    EXPECT_EQ(manager().checkLogin(kHost, "nms1", "secret"), kUserDatabaseUnusable);
    EXPECT_TRUE(capture.contains("[CorbaSecurityMgr::checkLogin] user database " + file.string() +
                                 " is damaged"));

    folder.write("users.db", good);
    EXPECT_EQ(manager().Login(kHost, "nms1", "secret"), 0u);
}

TEST_F(SecurityMgr, ALockedDatabaseRefusesALoginButNotALogout) {
    addUser("nms1");
    ASSERT_EQ(manager().Login(kHost, "nms1", "secret"), 0u);
    SQLite::Database other(file.string(), SQLite::OPEN_READWRITE);
    SQLite::Transaction holding(other, SQLite::TransactionBehavior::EXCLUSIVE);
    EXPECT_EQ(manager().Login(kHost, "nms1", "secret"), kUserDatabaseUnusable);
    manager().Logout(kHost, "nms1");
    EXPECT_EQ(manager().LiveLogins(kHost, "nms1"), 0u);
}

TEST_F(SecurityMgr, AUsersNumberComesFromTheDatabase) {
    addUser("first");
    addUser("nms1");
    EXPECT_EQ(manager().GetUserID(sessionName("nms1")), idOf("nms1"));
    EXPECT_NE(manager().GetUserID(sessionName("nms1")), manager().GetUserID(sessionName("first")));
    EXPECT_EQ(manager().GetUserID(sessionName("nobody")), -1);
    EXPECT_EQ(manager().GetUserID(""), -1);
    EXPECT_EQ(manager().GetUserID("nms1"), -1);
    EXPECT_EQ(manager().GetUserID("<USERNAME_TAG>nms1"), -1);
}

TEST_F(SecurityMgr, TheNumberOfALiveLoginNeedsNoDisk) {
    addUser("nms1");
    const std::int64_t id = idOf("nms1");
    ASSERT_EQ(manager().Login(kHost, "nms1", "secret"), 0u);
    std::filesystem::remove(file);
    EXPECT_EQ(manager().GetUserID(sessionName("nms1")), id);
    manager().Logout(kHost, "nms1");
    EXPECT_EQ(manager().GetUserID(sessionName("nms1")), -1);
}

TEST_F(SecurityMgr, LogoutWorksWithoutInitAndAfterExitThread) {
    manager().Logout(kHost, "nms1");
    ASSERT_TRUE(manager().Init());
    addUser("nms1");
    ASSERT_EQ(manager().Login(kHost, "nms1", "secret"), 0u);
    manager().ExitThread();
    manager().Logout(kHost, "nms1");
    EXPECT_EQ(manager().LiveLogins(kHost, "nms1"), 0u);
    CorbaSecurityMgr::Destroy();
    CorbaSecurityMgr::Destroy();
    manager().Logout(kHost, "nms1");
}

TEST_F(SecurityMgr, ReportsALiveLoginWhoseAccountEndedUntilItsLogout) {
    const std::string ipv6Host = "[2001:db8::1]:5000";
    addUser("nms1");
    addUser("nms2");
    UserStates states;
    ASSERT_TRUE(manager().Init());
    ASSERT_EQ(manager().Login(kHost, "nms1", "secret"), 0u);
    ASSERT_EQ(manager().Login(ipv6Host, "nms1", "secret"), 0u);
    ASSERT_EQ(manager().Login(kOtherHost, "nms2", "secret"), 0u);
    UserDatabase(file).setEnabled("nms1", false);
    EXPECT_TRUE(waitUntil([&] {
        return states.count("10.0.0.1 5000 nms1") >= 2 &&
               states.count("[2001:db8::1] 5000 nms1") >= 2;
    }));
    EXPECT_EQ(states.count("10.0.0.1 5001 nms2"), 0u);
    manager().Logout(kHost, "nms1");
    manager().Logout(ipv6Host, "nms1");
    UserDatabase(file).remove("nms2");
    EXPECT_TRUE(waitUntil([&] { return states.count("10.0.0.1 5001 nms2") >= 1; }));
    manager().ExitThread();
}

TEST_F(SecurityMgr, WatchesAgainAfterASecondInit) {
    addUser("nms1");
    UserStates states;
    ASSERT_TRUE(manager().Init());
    ASSERT_TRUE(manager().Init());
    manager().ExitThread();
    manager().ExitThread();
    ASSERT_EQ(manager().Login(kHost, "nms1", "secret"), 0u);
    UserDatabase(file).setPassword("nms1", "other", kelp::users::configuredHashCost());
    ASSERT_TRUE(manager().Init());
    EXPECT_TRUE(waitUntil([&] { return states.count("10.0.0.1 5000 nms1") >= 1; }));
}

TEST_F(SecurityMgr, ManyMayLogInAtOnce) {
    addUser("nms1");
    std::vector<std::thread> clients;
    for (int i = 0; i < 8; ++i)
        clients.emplace_back([i] {
            const std::string host = "10.0.0.2:" + std::to_string(6000 + i);
            for (int round = 0; round < 5; ++round) {
                EXPECT_EQ(manager().Login(host, "nms1", "secret"), 0u);
                EXPECT_GT(manager().GetUserID(sessionName("nms1")), 0);
                manager().Logout(host, "nms1");
                EXPECT_EQ(manager().LiveLogins(host, "nms1"), 0u);
            }
        });
    for (std::thread& client : clients)
        client.join();
}

TEST_F(SecurityMgr, TheDefaultFileLiesBelowTheStateDirectory) {
    kelp::test::configure("");
    ::setenv("STATE_DIRECTORY", folder.path().c_str(), 1);
    EXPECT_EQ(kelp::users::userDatabaseFile(), folder.path() / "users.db");
    ::unsetenv("STATE_DIRECTORY");
}

}  // namespace
