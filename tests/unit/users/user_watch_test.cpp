// Changes of the user database by another process, found by one call of look() at a time.

#include <SQLiteCpp/SQLiteCpp.h>
#include <gtest/gtest.h>
#include <kelp/users/user_watch.h>

#include "support/temporary_directory.h"
#include "support/trace_capture.h"

using kelp::test::TemporaryDirectory;
using kelp::test::TraceCapture;
using kelp::users::UserAccount;
using kelp::users::UserDatabase;
using kelp::users::UserWatch;

namespace {

class UserWatchTest : public testing::Test {
  protected:
    UserWatchTest() { UserDatabase(file).add("nms1", "secret", {8, 1}); }
    bool look(bool again = false) { return watch.look(file, again); }

    TemporaryDirectory folder;
    const std::filesystem::path file = folder.path() / "users.db";
    std::vector<UserAccount> accounts;
    int found = 0;
    UserWatch watch{[this](const std::vector<UserAccount>& read) {
        accounts = read;
        ++found;
    }};
};

TEST_F(UserWatchTest, FindsTheAccountsFirstAndThenOnlyChanges) {
    EXPECT_TRUE(look());
    EXPECT_EQ(found, 1);
    ASSERT_EQ(accounts.size(), 1u);
    EXPECT_TRUE(look());
    EXPECT_EQ(found, 1);
    UserDatabase(file).setEnabled("nms1", false);
    EXPECT_TRUE(look());
    EXPECT_EQ(found, 2);
    EXPECT_FALSE(accounts[0].enabled);
}

TEST_F(UserWatchTest, FindsTheAccountsWhenAsked) {
    look();
    EXPECT_TRUE(look(true));
    EXPECT_EQ(found, 2);
}

TEST_F(UserWatchTest, ARemovedFileIsNoChangeAndOneThatIsBackIs) {
    look();
    std::filesystem::rename(file, folder.path() / "away");
    EXPECT_FALSE(look());
    EXPECT_EQ(found, 1);
    std::filesystem::rename(folder.path() / "away", file);
    EXPECT_TRUE(look());
    EXPECT_EQ(found, 2);
}

TEST_F(UserWatchTest, AReplacedFileIsAChange) {
    look();
    const std::filesystem::path other = folder.path() / "other.db";
    UserDatabase(other).add("nms2", "secret", {8, 1});
    std::filesystem::rename(other, file);
    EXPECT_TRUE(look());
    ASSERT_EQ(accounts.size(), 1u);
    EXPECT_EQ(accounts[0].name, "nms2");
}

TEST_F(UserWatchTest, ADamagedFileIsTracedOnceAndReadAgainWhenItIsWhole) {
    look();
    const std::string good = kelp::test::contentOf(file);
    const TraceCapture trace;
    folder.write("users.db", std::string(4096, 'x'));
    for (int i = 0; i < 10; ++i)
        EXPECT_FALSE(look());
    EXPECT_EQ(trace.count("is damaged"), 1u);
    EXPECT_EQ(found, 1);
    folder.write("users.db", good);
    EXPECT_TRUE(look());
    EXPECT_EQ(found, 2);
    EXPECT_TRUE(trace.contains("the user database can be read again"));
    EXPECT_EQ(kelp::test::contentOf(file), good) << "looking writes nothing";
}

TEST_F(UserWatchTest, AShortLockIsNotTracedAndALongOneIs) {
    look();
    const TraceCapture trace;
    SQLite::Database other(file.string(), SQLite::OPEN_READWRITE);
    {
        SQLite::Transaction holding(other, SQLite::TransactionBehavior::EXCLUSIVE);
        EXPECT_FALSE(look());
        EXPECT_FALSE(trace.contains("is locked by another process"));
        EXPECT_FALSE(look());
        EXPECT_FALSE(look());
        EXPECT_TRUE(trace.contains("is locked by another process"));
    }
    EXPECT_TRUE(look());
    EXPECT_EQ(found, 2);
}

TEST_F(UserWatchTest, DoesNotKeepTheFileLocked) {
    look();
    SQLite::Database other(file.string(), SQLite::OPEN_READWRITE);
    SQLite::Transaction holding(other, SQLite::TransactionBehavior::EXCLUSIVE);
    EXPECT_EQ(other.execAndGet("SELECT count(*) FROM user").getInt(), 1);
}

}  // namespace
