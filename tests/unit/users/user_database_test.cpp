#include <SQLiteCpp/SQLiteCpp.h>
#include <gtest/gtest.h>
#include <kelp/users/user_database.h>
#include <sys/stat.h>

#include <chrono>
#include <future>
#include <stdexcept>

#include "support/temporary_directory.h"

using kelp::test::TemporaryDirectory;
using kelp::users::HashCost;
using kelp::users::UserAccount;
using kelp::users::UserDatabase;

namespace {

constexpr HashCost kCheap{8, 1};

class UserDatabaseTest : public testing::Test {
  protected:
    /// Return the text of an operation's failure; empty if it succeeds.
    template <class Operation>
    static std::string failureOf(Operation operation) {
        try {
            operation();
        } catch (const std::runtime_error& failure) {
            return failure.what();
        }
        return {};
    }

    std::string openingFailure() {
        return failureOf([this] { UserDatabase database(file); });
    }

    TemporaryDirectory folder;
    const std::filesystem::path file = folder.path() / "users.db";
};

TEST_F(UserDatabaseTest, KeepsAccountsAndChecksPasswords) {
    {
        UserDatabase database(file);
        database.add("nms1", "secret", kCheap);
        database.add("nms2", "other", kCheap);
    }
    UserDatabase database(file);
    EXPECT_TRUE(database.passwordMatches("nms1", "secret", kCheap));
    EXPECT_FALSE(database.passwordMatches("nms1", "Secret", kCheap));
    EXPECT_FALSE(database.passwordMatches("nms1", "", kCheap));
    EXPECT_FALSE(database.passwordMatches("nms1", "other", kCheap));
    EXPECT_TRUE(database.passwordMatches("nms2", "other", kCheap));
    EXPECT_FALSE(database.passwordMatches("nobody", "secret", kCheap));
}

TEST_F(UserDatabaseTest, NamesAreExact) {
    UserDatabase database(file);
    database.add("Nms", "secret", kCheap);
    EXPECT_FALSE(database.find("nms"));
    EXPECT_FALSE(database.find("Nms "));
    EXPECT_FALSE(database.passwordMatches("NMS", "secret", kCheap));
    database.add("nms", "secret", kCheap);
    EXPECT_EQ(database.list().size(), 2u);
}

TEST_F(UserDatabaseTest, TheFileIsAccessibleToItsOwnerOnly) {
    const ::mode_t before = ::umask(0);
    { const UserDatabase database(folder.path() / "sub" / "folder" / "users.db"); }
    ::umask(before);
    struct stat status = {};
    ASSERT_EQ(::stat((folder.path() / "sub/folder/users.db").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(UserDatabaseTest, NoPasswordIsInTheFile) {
    {
        UserDatabase database(file);
        database.add("nms1", "open sesame", kCheap);
    }
    const std::string content = kelp::test::contentOf(file);
    EXPECT_EQ(content.find("open sesame"), std::string::npos);
    EXPECT_NE(content.find("$argon2id$v=19$m=8,t=1,p=1$"), std::string::npos);
}

TEST_F(UserDatabaseTest, TheSamePasswordIsHashedDifferentlyEachTime) {
    {
        UserDatabase database(file);
        database.add("nms1", "secret", kCheap);
        database.add("nms2", "secret", kCheap);
    }
    SQLite::Database raw(file.string());
    EXPECT_EQ(raw.execAndGet("SELECT count(DISTINCT password_hash) FROM user").getInt(), 2);
}

TEST_F(UserDatabaseTest, ListsAccountsByNameWithTheirDates) {
    UserDatabase database(file);
    const auto now = std::chrono::duration_cast<std::chrono::seconds>(
        std::chrono::system_clock::now().time_since_epoch());
    database.add("zeta", "secret", kCheap);
    database.add("alpha", "secret", kCheap);
    database.setEnabled("zeta", false);
    const std::vector<UserAccount> accounts = database.list();
    ASSERT_EQ(accounts.size(), 2u);
    EXPECT_EQ(accounts[0].name, "alpha");
    EXPECT_TRUE(accounts[0].enabled);
    EXPECT_EQ(accounts[1].name, "zeta");
    EXPECT_FALSE(accounts[1].enabled);
    EXPECT_NE(accounts[0].id, accounts[1].id);
    EXPECT_GE(accounts[0].createdUtc, now.count());
    EXPECT_GE(accounts[0].passwordChangedUtc, accounts[0].createdUtc);
}

TEST_F(UserDatabaseTest, ANewPasswordReplacesTheOldOne) {
    UserDatabase database(file);
    database.add("nms1", "old", kCheap);
    database.setPassword("nms1", "new", kCheap);
    EXPECT_FALSE(database.passwordMatches("nms1", "old", kCheap));
    EXPECT_TRUE(database.passwordMatches("nms1", "new", kCheap));
}

TEST_F(UserDatabaseTest, HashesOfAnotherCostStayValid) {
    UserDatabase database(file);
    database.add("nms1", "secret", HashCost{16, 2});
    EXPECT_TRUE(database.passwordMatches("nms1", "secret", kCheap));
}

TEST_F(UserDatabaseTest, ARemovedUsersNumberIsNotGivenAgain) {
    UserDatabase database(file);
    database.add("nms1", "secret", kCheap);
    const std::int64_t id = database.find("nms1")->id;
    database.remove("nms1");
    EXPECT_FALSE(database.find("nms1"));
    database.add("nms1", "secret", kCheap);
    EXPECT_NE(database.find("nms1")->id, id);
}

TEST_F(UserDatabaseTest, AuthenticateReportsADisabledAccountOnlyWithTheRightPassword) {
    UserDatabase database(file);
    database.add("nms1", "secret", kCheap);
    database.setEnabled("nms1", false);
    EXPECT_FALSE(database.authenticate("nms1", "wrong", kCheap));
    const std::optional<UserAccount> account = database.authenticate("nms1", "secret", kCheap);
    ASSERT_TRUE(account);
    EXPECT_FALSE(account->enabled);
    database.setEnabled("nms1", true);
    EXPECT_TRUE(database.authenticate("nms1", "secret", kCheap)->enabled);
}

TEST_F(UserDatabaseTest, ChangingAnUnknownUserFails) {
    UserDatabase database(file);
    const std::string unknown = "there is no user \"nobody\"";
    EXPECT_EQ(failureOf([&] { database.setEnabled("nobody", true); }), unknown);
    EXPECT_EQ(failureOf([&] { database.setPassword("nobody", "secret", kCheap); }), unknown);
    EXPECT_EQ(failureOf([&] { database.remove("nobody"); }), unknown);
    EXPECT_EQ(failureOf([&] { database.setExpiry("nobody", 1); }), unknown);
    EXPECT_EQ(failureOf([&] { database.setNetworks("nobody", {}); }), unknown);
    EXPECT_EQ(failureOf([&] { database.unlock("nobody"); }), unknown);
}

TEST_F(UserDatabaseTest, NoNameIsGivenTwice) {
    UserDatabase database(file);
    database.add("nms1", "secret", kCheap);
    EXPECT_EQ(failureOf([&] { database.add("nms1", "other", kCheap); }),
              "user \"nms1\" already exists");
    EXPECT_TRUE(database.passwordMatches("nms1", "secret", kCheap));
}

TEST_F(UserDatabaseTest, UnsafeNamesAreRefused) {
    UserDatabase database(file);
    EXPECT_NE(failureOf([&] { database.add("", "secret", kCheap); }), "");
    EXPECT_NE(failureOf([&] { database.add(std::string(65, 'n'), "secret", kCheap); }), "");
    EXPECT_NE(failureOf([&] { database.add("a\nb", "secret", kCheap); }), "");
    EXPECT_NE(failureOf([&] { database.add("a\x7f", "secret", kCheap); }), "");
    EXPECT_NE(failureOf([&] { database.add("a\xffz", "secret", kCheap); }), "");
    EXPECT_NE(failureOf([&] { database.add("a\xc0\xaf", "secret", kCheap); }), "");  // overlong
    EXPECT_NE(failureOf([&] { database.add("a\xed\xa0\x80", "secret", kCheap); }),
              "");  // surrogate
    EXPECT_NE(failureOf([&] { database.add("a\xc2\x85", "secret", kCheap); }),
              "");  // control character
    EXPECT_NE(failureOf([&] { database.add("a\xe2\x82", "secret", kCheap); }), "");  // cut short
    EXPECT_NE(failureOf([&] { database.add("a<b", "secret", kCheap); }).find("'<' or '>'"),
              std::string::npos);
    EXPECT_NE(failureOf([&] { database.add("</USERNAME_TAG>", "secret", kCheap); }), "");
    EXPECT_TRUE(database.list().empty());
}

TEST_F(UserDatabaseTest, NamesMayHoldAnythingElseThatIsPrinted) {
    UserDatabase database(file);
    const std::string names[] = {"n", std::string(64, 'n'), "O'Neil; DROP TABLE user",
                                 "J\xc3\xbcrgen @ \xe6\x9d\xb1"};
    for (const std::string& name : names) {
        database.add(name, "secret", kCheap);
        EXPECT_TRUE(database.passwordMatches(name, "secret", kCheap)) << name;
    }
}

TEST_F(UserDatabaseTest, PasswordsHaveALengthAndALimit) {
    UserDatabase database(file);
    EXPECT_EQ(failureOf([&] { database.add("nms1", "", kCheap); }),
              "the password must not be empty");
    EXPECT_NE(failureOf([&] { database.add("nms1", std::string(1025, 'p'), kCheap); }), "");
    const std::string longest(1024, 'p');
    database.add("nms1", longest, kCheap);
    EXPECT_TRUE(database.passwordMatches("nms1", longest, kCheap));
    EXPECT_FALSE(database.passwordMatches("nms1", longest + "p", kCheap));
    EXPECT_EQ(failureOf([&] { database.setPassword("nms1", "", kCheap); }),
              "the password must not be empty");
}

TEST_F(UserDatabaseTest, AnImpossibleHashCostIsAClearError) {
    UserDatabase database(file);
    EXPECT_NE(failureOf([&] {
                  database.add("nms1", "secret", HashCost{1, 1});
              }).find("1 KiB"),
              std::string::npos);
    EXPECT_FALSE(database.find("nms1"));
}

TEST_F(UserDatabaseTest, AMissingFileIsAnErrorWhenItMustExist) {
    EXPECT_EQ(failureOf([&] { UserDatabase database(file, UserDatabase::Missing::IsAnError); }),
              "user database " + file.string() + " does not exist");
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(UserDatabaseTest, AFileThatIsNoDatabaseIsDamaged) {
    folder.write("users.db", std::string(8192, 'x'));
    EXPECT_NE(openingFailure().find("is damaged"), std::string::npos) << openingFailure();
    EXPECT_EQ(kelp::test::contentOf(file), std::string(8192, 'x'));
}

TEST_F(UserDatabaseTest, AFileWithBrokenPagesIsDamaged) {
    {
        UserDatabase database(file);
        database.add("nms1", "secret", kCheap);
    }
    std::string content = kelp::test::contentOf(file);
    ASSERT_GT(content.size(), 4096u);
    std::fill(content.begin() + 4096, content.end(), '\x55');
    folder.write("users.db", content);
    EXPECT_NE(failureOf([&] {
                  UserDatabase database(file);
                  database.list();
              }).find("is damaged"),
              std::string::npos);
}

TEST_F(UserDatabaseTest, AnotherProgramsDatabaseIsRefusedAndLeftAlone) {
    {
        SQLite::Database other(file.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
        other.exec("CREATE TABLE song (title TEXT)");
    }
    EXPECT_EQ(openingFailure(), file.string() + " is not a user database");
    SQLite::Database other(file.string());
    EXPECT_EQ(other.execAndGet("SELECT count(*) FROM sqlite_schema").getInt(), 1);
}

TEST_F(UserDatabaseTest, ASchemaOfAnotherVersionIsRefused) {
    { const UserDatabase database(file); }
    {
        SQLite::Database raw(file.string(), SQLite::OPEN_READWRITE);
        raw.exec("PRAGMA user_version = 7");
    }
    EXPECT_EQ(openingFailure(), "user database " + file.string() +
                                    " has schema version 7; this program knows version 3");
}

TEST_F(UserDatabaseTest, ADatabaseOfTheFirstVersionKeepsItsAccountsAndGetsTheRest) {
    std::string hash;
    {
        UserDatabase database(folder.path() / "other.db");
        database.add("nms1", "secret", kCheap);
        hash = SQLite::Database((folder.path() / "other.db").string())
                   .execAndGet("SELECT password_hash FROM user")
                   .getString();
    }
    {
        SQLite::Database old(file.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
        old.exec(R"(CREATE TABLE user (
            id INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT NOT NULL UNIQUE, password_hash TEXT NOT NULL,
            enabled INTEGER NOT NULL DEFAULT 1, created_utc INTEGER NOT NULL,
            password_changed_utc INTEGER NOT NULL) STRICT;
            PRAGMA application_id = 1263883090; PRAGMA user_version = 1)");
        old.exec("INSERT INTO user VALUES (17, 'nms1', '" + hash + "', 0, 1000, 2000)");
    }
    UserDatabase database(file, UserDatabase::Missing::IsAnError);
    const std::optional<UserAccount> account = database.authenticate("nms1", "secret", kCheap);
    ASSERT_TRUE(account);
    EXPECT_EQ(account->id, 17);
    EXPECT_FALSE(account->enabled);
    EXPECT_EQ(account->createdUtc, 1000);
    EXPECT_EQ(account->passwordChangedUtc, 2000);
    EXPECT_EQ(account->expiresUtc, std::nullopt);
    EXPECT_TRUE(account->networks.empty());
    EXPECT_TRUE(account->subjects.empty());
    database.setNetworks("nms1", {"10.0.0.0/8"});
    UserDatabase again(file);
    EXPECT_EQ(again.find("nms1")->networks.size(), 1u);
}

TEST_F(UserDatabaseTest, TwoProgramsMayUpgradeItAtOnce) {
    for (int round = 0; round < 20; ++round) {
        std::filesystem::remove(file);
        { UserDatabase(file).add("nms1", "secret", kCheap); }
        {
            SQLite::Database raw(file.string(), SQLite::OPEN_READWRITE);
            for (const char* column :
                 {"expires_utc", "networks", "password_number", "unlocks", "subjects"})
                raw.exec(std::string("ALTER TABLE user DROP COLUMN ") + column);
            raw.exec("PRAGMA user_version = 1");
        }
        const auto open = [this] { return openingFailure(); };
        std::future<std::string> one = std::async(std::launch::async, open);
        EXPECT_EQ(open(), "");
        EXPECT_EQ(one.get(), "");
        EXPECT_TRUE(UserDatabase(file).find("nms1"));
    }
}

TEST_F(UserDatabaseTest, KeepsExpiryAndNetworks) {
    UserDatabase database(file);
    database.add("nms1", "secret", kCheap);
    EXPECT_FALSE(database.find("nms1")->isExpired(1'800'000'000));
    database.setExpiry("nms1", 1'800'000'000);
    EXPECT_FALSE(database.find("nms1")->isExpired(1'799'999'999));
    EXPECT_TRUE(database.find("nms1")->isExpired(1'800'000'000));
    database.setExpiry("nms1", std::nullopt);
    EXPECT_EQ(database.find("nms1")->expiresUtc, std::nullopt);
    const std::vector<std::string> networks = {"10.0.0.0/8", "192.168.1.1", "2001:db8::/32"};
    database.setNetworks("nms1", networks);
    EXPECT_EQ(database.find("nms1")->networks, networks);
    EXPECT_EQ(failureOf([&] {
                  database.setNetworks("nms1", {"10.0.0.0/8", "nonsense"});
              }),
              "\"nonsense\" is neither an IPv4 nor an IPv6 network");
    EXPECT_EQ(database.find("nms1")->networks, networks);
    database.setNetworks("nms1", {});
    EXPECT_TRUE(database.find("nms1")->networks.empty());
}

TEST_F(UserDatabaseTest, KeepsSubjectsInOneForm) {
    UserDatabase database(file);
    database.add("nms1", "secret", kCheap);
    EXPECT_TRUE(database.find("nms1")->allowsCertificate(""));
    database.setSubjects("nms1", {"cn=nms1, O=Operator", "CN=two\nlines"});
    const std::vector<std::string> subjects = {"CN=nms1,O=Operator", "CN=two\\0Alines"};
    EXPECT_EQ(database.find("nms1")->subjects, subjects);
    EXPECT_TRUE(database.find("nms1")->allowsCertificate("CN=nms1,O=Operator"));
    EXPECT_FALSE(database.find("nms1")->allowsCertificate("CN=nms1"));
    EXPECT_FALSE(database.find("nms1")->allowsCertificate(""));
    const std::string failure = failureOf([&] {
        database.setSubjects("nms1", {"CN=nms2", "nonsense"});
    });
    EXPECT_EQ(failure.find("\"nonsense\" is not a subject: "), 0u) << failure;
    EXPECT_EQ(database.find("nms1")->subjects, subjects);
    EXPECT_EQ(failureOf([&] { database.setSubjects("nobody", {}); }),
              "there is no user \"nobody\"");
    database.setSubjects("nms1", {});
    EXPECT_TRUE(database.find("nms1")->subjects.empty());
}

TEST_F(UserDatabaseTest, EveryNewPasswordHasItsOwnNumber) {
    UserDatabase database(file);
    database.add("nms1", "secret", kCheap);
    const std::int64_t first = database.find("nms1")->passwordNumber;
    database.setPassword("nms1", "secret", kCheap);
    EXPECT_GT(database.find("nms1")->passwordNumber, first);
}

TEST_F(UserDatabaseTest, AnUnknownUserCostsAHashAtTheStoredCostElseAtTheConfiguredOne) {
    // with a cost that no hash can have, the failure shows which cost is used
    constexpr HashCost kImpossible{1, 1};
    UserDatabase database(file);
    EXPECT_NE(failureOf([&] { database.authenticate("nobody", "secret", kImpossible); }), "");
    database.add("nms1", "secret", HashCost{16, 2});
    EXPECT_EQ(
        failureOf([&] { EXPECT_FALSE(database.authenticate("nobody", "secret", kImpossible)); }),
        "");
    SQLite::Database raw(file.string(), SQLite::OPEN_READWRITE);
    raw.exec("UPDATE user SET password_hash = ''");
    EXPECT_NE(failureOf([&] { database.authenticate("nobody", "secret", kImpossible); }), "");
}

TEST_F(UserDatabaseTest, AnEmptyFileBecomesADatabase) {
    folder.write("users.db", "");
    UserDatabase database(file);
    database.add("nms1", "secret", kCheap);
    EXPECT_EQ(database.list().size(), 1u);
}

TEST_F(UserDatabaseTest, AFolderInItsPlaceIsAnError) {
    EXPECT_NE(failureOf([&] { UserDatabase database(folder.path()); }).find("cannot be opened"),
              std::string::npos);
    folder.write("users.db", "");
    EXPECT_NE(
        failureOf([&] { UserDatabase database(file / "users.db"); }).find("cannot make its folder"),
        std::string::npos);
}

TEST_F(UserDatabaseTest, ALockedFileIsAnErrorUntilItIsUnlocked) {
    UserDatabase database(file);
    database.add("nms1", "secret", kCheap);
    {
        SQLite::Database other(file.string(), SQLite::OPEN_READWRITE);
        SQLite::Transaction holding(other, SQLite::TransactionBehavior::EXCLUSIVE);
        EXPECT_EQ(failureOf([&] { database.setEnabled("nms1", false); }),
                  "user database " + file.string() + " is locked by another process");
        EXPECT_EQ(failureOf([&] { database.passwordMatches("nms1", "secret", kCheap); }),
                  "user database " + file.string() + " is locked by another process");
    }
    EXPECT_TRUE(database.passwordMatches("nms1", "secret", kCheap));
    EXPECT_TRUE(database.find("nms1")->enabled);
}

TEST_F(UserDatabaseTest, AShortLockIsWaitedFor) {
    UserDatabase database(file);
    database.add("nms1", "secret", kCheap);
    SQLite::Database other(file.string(), SQLite::OPEN_READWRITE);
    auto holding =
        std::make_unique<SQLite::Transaction>(other, SQLite::TransactionBehavior::EXCLUSIVE);
    std::future<std::string> change = std::async(
        std::launch::async, [&] { return failureOf([&] { database.setEnabled("nms1", false); }); });
    EXPECT_EQ(change.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    holding.reset();
    EXPECT_EQ(change.get(), "");
}

TEST_F(UserDatabaseTest, TwoProgramsMayMakeItAtOnce) {
    const auto make = [this] {
        return failureOf([this] {
            UserDatabase database(file);
            database.list();
        });
    };
    for (int round = 0; round < 20; ++round) {
        std::filesystem::remove(file);
        std::future<std::string> one = std::async(std::launch::async, make);
        EXPECT_EQ(make(), "");
        EXPECT_EQ(one.get(), "");
    }
}

TEST_F(UserDatabaseTest, AnotherProcesssChangesAreSeenAtOnce) {
    UserDatabase agent(file);
    UserDatabase tool(file);
    tool.add("nms1", "secret", kCheap);
    EXPECT_TRUE(agent.passwordMatches("nms1", "secret", kCheap));
    const std::int64_t version = agent.dataVersion();
    EXPECT_EQ(agent.dataVersion(), version);
    tool.setEnabled("nms1", false);
    EXPECT_NE(agent.dataVersion(), version);
    EXPECT_FALSE(agent.find("nms1")->enabled);
}

}  // namespace
