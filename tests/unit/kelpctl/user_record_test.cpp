// The records of kelpctl's changes to accounts in the security log.

#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <vector>

#include "kelpctl_fixture.h"

namespace kelp::test {
namespace {

using nlohmann::json;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class UserRecords : public KelpctlTest {
  protected:
    /// Return the records of the security log as kelpctl prints them, oldest first.
    std::vector<json> records() {
        const ToolRun run = kelpctl("audit --json --event user");
        EXPECT_EQ(run.status, 0) << run;
        std::vector<json> all;
        std::istringstream lines(run.output);
        for (std::string line; std::getline(lines, line);)
            all.push_back(json::parse(line));
        std::sort(all.begin(), all.end(),
                  [](const json& a, const json& b) { return a["id"] < b["id"]; });
        return all;
    }
    std::string logsBytes() const {
        std::string bytes;
        for (const char* const part : {"oplog-audit.db", "oplog-audit.db-wal"})
            if (std::filesystem::exists(folder / part))
                bytes += contentOf(folder / part);
        return bytes;
    }
    void addUser() { ASSERT_EQ(kelpctl("user add nms1 --password-file pw").status, 0); }

    const std::filesystem::path log = folder / "oplog-audit.db";
};

struct Change {
    const char* arguments;
    const char* detail;
};

TEST_F(UserRecords, EveryChangeLeavesOneRecord) {
    const std::vector<Change> changes = {
        {"add nms1 --password-file pw", "add"},
        {"passwd nms1 --password-file pw", "passwd"},
        {"disable nms1", "disable"},
        {"enable nms1", "enable"},
        {"expire nms1 2100-03-01", "expire 2100-03-01"},
        {"networks nms1 10.1.0.0/16 2001:db8::/32", "networks 10.1.0.0/16 2001:db8::/32"},
        {"networks nms1 any", "networks any"},
        {"tls nms1 --subject CN=nms1,O=Operator --subject CN=standby",
         "tls CN=nms1,O=Operator; CN=standby"},
        {"tls nms1 --any", "tls any"},
        {"unlock nms1", "unlock"},
        {"remove nms1", "remove"},
    };
    const passwd* const whoRuns = ::getpwuid(::getuid());
    const std::string operatorName =
        whoRuns != nullptr ? std::string(whoRuns->pw_name) : std::to_string(::getuid());
    for (std::size_t i = 0; i < changes.size(); ++i) {
        const ToolRun run = kelpctl(std::string("user ") + changes[i].arguments);
        ASSERT_EQ(run.status, 0) << changes[i].arguments << ": " << run;
        const std::vector<json> all = records();
        ASSERT_THAT(all, SizeIs(i + 1)) << changes[i].arguments;
        EXPECT_EQ(all.back()["operation"], "user");
        EXPECT_EQ(all.back()["user"], operatorName);
        EXPECT_EQ(all.back()["object"], "nms1");
        EXPECT_EQ(all.back()["detail"], changes[i].detail);
        EXPECT_EQ(all.back()["outcome"], "ok");
    }
    EXPECT_EQ(kelpctl("audit verify").status, 0);
}

TEST_F(UserRecords, AChangeThatFailsLeavesARecordThatSaysWhy) {
    addUser();
    const std::vector<Change> failures = {
        {"add nms1 --password-file pw", "user \"nms1\" already exists"},
        {"passwd nobody --password-file pw", "there is no user \"nobody\""},
        {"passwd nms1 --password-file missing", "missing: No such file or directory"},
        {"disable nobody", "there is no user \"nobody\""},
        {"enable nobody", "there is no user \"nobody\""},
        {"expire nms1 soon", "\"soon\" is not a time"},
        {"networks nms1 10.1.0.0/33", "\"10.1.0.0/33\" needs a prefix length"},
        {"tls nms1 --subject nms1", "\"nms1\" is not a subject"},
        {"unlock nobody", "there is no user \"nobody\""},
        {"remove nobody", "there is no user \"nobody\""},
        {"--database elsewhere.db disable nms1", "elsewhere.db does not exist"},
    };
    for (std::size_t i = 0; i < failures.size(); ++i) {
        const ToolRun run = kelpctl(std::string("user ") + failures[i].arguments);
        EXPECT_TRUE(run.failedWith(1, failures[i].detail)) << failures[i].arguments << ": " << run;
        const std::vector<json> all = records();
        ASSERT_THAT(all, SizeIs(i + 2)) << failures[i].arguments;
        EXPECT_THAT(all.back()["outcome"].get<std::string>(), HasSubstr(failures[i].detail))
            << failures[i].arguments;
    }
    EXPECT_EQ(kelpctl("audit verify").status, 0);
}

TEST_F(UserRecords, NoPasswordIsInTheLog) {
    secretFile("pw", "quokka-first\n");
    secretFile("new", "quokka-second\n");
    addUser();
    ASSERT_EQ(kelpctl("user passwd nms1 --password-file new").status, 0);
    ASSERT_EQ(kelpctl("user add nms1 --password-file new").status, 1);
    ASSERT_THAT(records(), SizeIs(3));
    const std::string bytes = logsBytes();
    EXPECT_THAT(bytes, HasSubstr("passwd"));
    EXPECT_EQ(bytes.find("quokka"), std::string::npos);
}

TEST_F(UserRecords, ReadingAccountsLeavesNoRecord) {
    addUser();
    ASSERT_EQ(kelpctl("user list").status, 0);
    ASSERT_EQ(kelpctl("user list --json").status, 0);
    EXPECT_THAT(records(), SizeIs(1));
}

TEST_F(UserRecords, AnInvalidCommandLeavesNoRecord) {
    EXPECT_EQ(kelpctl("user passwd nms1 secret").status, 2);
    EXPECT_EQ(kelpctl("user disable").status, 2);
    EXPECT_FALSE(std::filesystem::exists(log));
}

TEST_F(UserRecords, TheLogIsTheOneConfigured) {
    folder.write("kelp.toml",
                 "[security]\nhash_memory_kib = 8\nhash_passes = 1\n"
                 "[oplog]\ndatabase = \"" +
                     (folder / "logs" / "calls.db").string() + "\"\n");
    addUser();
    EXPECT_TRUE(std::filesystem::exists(folder / "logs" / "calls-audit.db"));
    EXPECT_FALSE(std::filesystem::exists(log));
    EXPECT_THAT(records(), SizeIs(1));
}

TEST_F(UserRecords, AChangeHoldsWithAWarningWhenItCannotBeRecorded) {
    folder.write("oplog-audit.db", std::string(10000, 'g'));
    const ToolRun added = kelpctl("user add nms1 --password-file pw");
    EXPECT_EQ(added.status, 3) << added;
    EXPECT_EQ(added.output, "user \"nms1\" added\n");
    EXPECT_THAT(added.errors,
                HasSubstr("kelpctl: done, but it could not be recorded in the security log: " +
                          log.string() + " is damaged"));
    EXPECT_TRUE(hasPassword("nms1", "old secret"));
    EXPECT_EQ(contentOf(log), std::string(10000, 'g'));
}

TEST_F(UserRecords, AnotherProgramsFileIsNoLogAndStaysAsItIs) {
    SQLite::Database(log.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE)
        .exec("CREATE TABLE mine (x); PRAGMA user_version = 1");
    const ToolRun added = kelpctl("user add nms1 --password-file pw");
    EXPECT_EQ(added.status, 3) << added;
    EXPECT_THAT(added.errors, EndsWith("oplog-audit.db is not a security log\n"));
    EXPECT_EQ(
        SQLite::Database(log.string()).execAndGet("SELECT count(*) FROM sqlite_schema").getInt(),
        1);
}

TEST_F(UserRecords, ALockedLogIsNamed) {
    addUser();
    SQLite::Database other(log.string(), SQLite::OPEN_READWRITE);
    other.exec("BEGIN IMMEDIATE");
    const ToolRun run = kelpctl("user disable nms1");
    EXPECT_EQ(run.status, 3) << run;
    EXPECT_THAT(run.errors, EndsWith("oplog-audit.db is locked by another process\n"));
    EXPECT_FALSE(kelp::users::UserDatabase(database).find("nms1")->enabled);
    other.exec("ROLLBACK");
    EXPECT_EQ(kelpctl("user enable nms1").status, 0);
    EXPECT_EQ(kelpctl("audit verify").status, 0);
}

TEST_F(UserRecords, AFailureIsAFailureWhetherItIsRecordedOrNot) {
    addUser();
    folder.write("oplog-audit.db", std::string(10000, 'g'));
    std::filesystem::remove(folder / "oplog-audit.db-wal");
    const ToolRun run = kelpctl("user disable nobody");
    EXPECT_EQ(run.status, 1) << run;
    EXPECT_THAT(run.output, IsEmpty());
    EXPECT_THAT(run.errors, HasSubstr("kelpctl: this could not be recorded in the security log: " +
                                      log.string() + " is damaged"));
    EXPECT_THAT(run.errors, EndsWith("kelpctl: there is no user \"nobody\"\n"));
}

}  // namespace
}  // namespace kelp::test
