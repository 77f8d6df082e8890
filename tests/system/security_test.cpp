// Who may log in. The operator's tool, the host and the NMS are separate processes.

#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "harness/host.h"
#include "harness/nms_process.h"
#include "support/tcp_relay.h"

namespace kelp::test {
namespace {

using ::testing::HasSubstr;

class Security : public ::testing::Test {
  protected:
    void SetUp() override {
        // NMS on this machine call through relays, as if they were on other machines
        host.set("access", "nms_reference", quoted("any"));
        host.addUser("alice");
        host.addUser("bob");
    }
    /// Disable alice, who is logged in as NMS 0, while bob is logged in as NMS 1. Expect that the
    /// host notices the change in the database. Stops the host.
    void expectDisablingEndsTheSessionOfAlice(NmsProcess& nms) {
        host.user({"disable", "alice"});
        EXPECT_TRUE(eventually([&] { return !nms.hasSession(0); }));
        EXPECT_TRUE(nms.hasSession(1));
        EXPECT_EQ(host.stop(), 0);
    }
    /// Return the host's session factory for callers that come from another address than 127.0.0.1.
    std::string factoryOver(const TcpRelay& relay) const {
        return "corbaloc:iiop:1.2@" + relay.hostAndPort() + "/%ffV4800%00EMSSessionFactory";
    }
    std::filesystem::path usersFile() {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(host.scratch(""))) {
            if (entry.path().filename() == "users.db")
                return entry.path();
        }
        throw std::runtime_error("the host has no users");
    }

    Host host;
};

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// Replace the content in place, so that others who have the file open see the change.
void overwrite(const std::filesystem::path& file, const std::string& content) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << content;
}

TEST_F(Security, ADisabledUsersSessionsEndAndNobodyElses) {
    host.start();
    NmsProcess nms(host, 3);
    nms.logIn(0, "alice");
    nms.logIn(1, "alice");
    nms.logIn(2, "bob");
    host.user({"disable", "alice"});
    EXPECT_TRUE(eventually([&] { return !nms.hasSession(0) && !nms.hasSession(1); }));
    EXPECT_TRUE(nms.hasSession(2));
    EXPECT_THAT(nms.tryLogIn(0, "alice", Host::kPassword),
                HasSubstr("The user's account is disabled."));
    EXPECT_THAT(nms.tryLogIn(0, "alice", "wrong"),
                HasSubstr("The user name or the password is wrong."));
    host.user({"enable", "alice"});
    EXPECT_EQ(nms.tryLogIn(0, "alice", Host::kPassword), "");
    EXPECT_EQ(host.stop(), 0);
}

TEST_F(Security, AnExpiredUsersSessionEnds) {
    host.start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    host.user({"expire", "alice", "now"});
    EXPECT_TRUE(eventually([&] { return !nms.hasSession(0); }));
    EXPECT_THAT(nms.tryLogIn(0, "alice", Host::kPassword),
                HasSubstr("The user's account has expired."));
    host.user({"expire", "alice", "never"});
    EXPECT_EQ(nms.tryLogIn(0, "alice", Host::kPassword), "");
}

TEST_F(Security, AUsersNetworksAreEnforced) {
    host.start();
    const TcpRelay relay(host.port(), "127.0.0.2");
    NmsProcess here(host);
    NmsProcess there(host, factoryOver(relay));
    host.user({"networks", "alice", "127.0.0.2/32"});
    EXPECT_THAT(here.tryLogIn(0, "alice", Host::kPassword),
                HasSubstr("The user may not log in from this address."));
    EXPECT_EQ(there.tryLogIn(0, "alice", Host::kPassword), "");
    EXPECT_EQ(here.tryLogIn(0, "bob", Host::kPassword), "");
}

TEST_F(Security, TenThousandWrongPasswordsFromOneAddressDoNotLockOutOthers) {
    host.set("access", "requests_per_second_before_login", 0);
    host.start();
    const TcpRelay relay(host.port(), "127.0.0.2");
    NmsProcess guesser(host, factoryOver(relay));
    NmsProcess nms(host);
    EXPECT_THAT(guesser.tryLogIn(0, "alice", "wrong"),
                HasSubstr("The user name or the password is wrong."));
    for (int i = 1; i < 10000; ++i) {
        ASSERT_NE(guesser.tryLogIn(0, "alice", "wrong"), "") << i;
        if (i % 1000 == 0) {
            EXPECT_EQ(nms.tryLogIn(0, "alice", Host::kPassword), "") << i;
        }
    }
    EXPECT_THAT(guesser.tryLogIn(0, "alice", Host::kPassword), HasSubstr("Too many log-ins"));
    EXPECT_EQ(nms.tryLogIn(0, "alice", Host::kPassword), "");
    host.user({"unlock", "alice"});
    EXPECT_TRUE(eventually([&] { return guesser.tryLogIn(0, "alice", Host::kPassword).empty(); }));
    EXPECT_EQ(host.stop(), 0);
}

TEST_F(Security, ADatabaseThatIsDamagedOrGoneRefusesUntilItIsBack) {
    host.start();
    NmsProcess nms(host, 2);
    nms.logIn(0, "alice");
    const std::filesystem::path file = usersFile();
    const std::filesystem::path away = file.string() + ".away";

    std::filesystem::rename(file, away);
    EXPECT_THAT(nms.tryLogIn(1, "bob", Host::kPassword), HasSubstr("cannot be read now"));
    EXPECT_TRUE(host.log().waitFor("users.db does not exist"));
    std::ofstream(file) << std::string(8192, 'x');
    EXPECT_THAT(nms.tryLogIn(1, "bob", Host::kPassword), HasSubstr("cannot be read now"));
    EXPECT_TRUE(host.log().waitFor("users.db is damaged"));
    EXPECT_TRUE(nms.hasSession(0));

    std::filesystem::rename(away, file);
    EXPECT_TRUE(eventually([&] { return nms.tryLogIn(1, "bob", Host::kPassword).empty(); }));
    EXPECT_TRUE(nms.hasSession(0));
    expectDisablingEndsTheSessionOfAlice(nms);
}

TEST_F(Security, ADatabaseThatAnotherProcessLocksRefusesUntilItIsUnlocked) {
    host.start();
    NmsProcess nms(host, 2);
    nms.logIn(0, "alice");
    SQLite::Database other(usersFile().string(), SQLite::OPEN_READWRITE);
    other.exec("BEGIN EXCLUSIVE");
    EXPECT_THAT(nms.tryLogIn(1, "bob", Host::kPassword), HasSubstr("cannot be read now"));
    EXPECT_TRUE(
        host.log().waitFor("users.db is locked by another process; until it can be read nobody"));
    EXPECT_TRUE(nms.hasSession(0));
    EXPECT_FALSE(nms.managers(0).empty());

    other.exec("ROLLBACK");
    EXPECT_EQ(nms.tryLogIn(1, "bob", Host::kPassword), "");
    EXPECT_TRUE(host.log().waitFor("the user database can be read again"));
    EXPECT_TRUE(nms.hasSession(0));
    expectDisablingEndsTheSessionOfAlice(nms);
}

/// Damage to the file that the host keeps open: the first bytes stay, garbage follows.
struct Damage {
    const char* name;
    std::size_t bytesKept;
    std::size_t bytesOfGarbage;
    const char* said;

    friend std::ostream& operator<<(std::ostream& out, const Damage& damage) {
        return out << damage.name;
    }
};

class DamagedInPlace : public Security, public testing::WithParamInterface<Damage> {};

TEST_P(DamagedInPlace, RefusesUntilTheContentIsBack) {
    host.start();
    NmsProcess nms(host, 2);
    nms.logIn(0, "alice");
    const std::filesystem::path file = usersFile();
    const std::string good = contentOf(file);
    overwrite(file,
              good.substr(0, GetParam().bytesKept) + std::string(GetParam().bytesOfGarbage, 'x'));
    EXPECT_THAT(nms.tryLogIn(1, "bob", Host::kPassword), HasSubstr("cannot be read now"));
    EXPECT_TRUE(host.log().waitFor(file.string() + GetParam().said));
    EXPECT_TRUE(nms.hasSession(0));

    overwrite(file, good);
    EXPECT_TRUE(eventually([&] { return nms.tryLogIn(1, "bob", Host::kPassword).empty(); }));
    EXPECT_TRUE(nms.hasSession(0));
    expectDisablingEndsTheSessionOfAlice(nms);
}

INSTANTIATE_TEST_SUITE_P(Security, DamagedInPlace,
                         testing::Values(Damage{"Emptied", 0, 0, " is not a user database"},
                                         Damage{"CutShort", 1000, 0, " is damaged"},
                                         Damage{"Overwritten", 0, 8192, " is damaged"},
                                         Damage{"PagesOverwritten", 100, 8092, " is damaged"}),
                         [](const auto& damage) { return std::string(damage.param.name); });

TEST_F(Security, ARecreatedDatabaseEndsTheSessionsOfUsersNotInIt) {
    host.start();
    NmsProcess nms(host, 3);
    nms.logIn(0, "alice");
    std::filesystem::remove(usersFile());
    EXPECT_THAT(nms.tryLogIn(1, "bob", Host::kPassword), HasSubstr("cannot be read now"));
    EXPECT_TRUE(nms.hasSession(0));
    host.addUser("carol");
    EXPECT_TRUE(eventually([&] { return nms.tryLogIn(1, "carol", Host::kPassword).empty(); }));
    EXPECT_TRUE(eventually([&] { return !nms.hasSession(0); }));
    EXPECT_TRUE(nms.hasSession(1));
    EXPECT_THAT(nms.tryLogIn(2, "bob", Host::kPassword),
                HasSubstr("The user name or the password is wrong."));
    EXPECT_EQ(host.stop(), 0);
}

}  // namespace
}  // namespace kelp::test
