// kelpctl oplog and kelpctl audit on logs of the test.

#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>
#include <kelp/oplog/security_log.h>
#include <nlohmann/json.hpp>

#include <sstream>
#include <vector>

#include "kelpctl/moment.h"
#include "kelpctl_fixture.h"

namespace kelp::test {
namespace {

using namespace oplog;
using namespace std::chrono_literals;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

class LogCommands : public KelpctlTest {
  protected:
    LogSettings settings(const char* file) const {
        LogSettings settings;
        settings.database = folder / file;
        // keep the records, whose times are in the past
        settings.retention.age = std::chrono::days(36500);
        return settings;
    }
    void makeOperationLog(const std::vector<OperationRecord>& records) {
        OperationLog log(settings("oplog.db"));
        for (const OperationRecord& record : records)
            log.write(record);
    }
    void makeSecurityLog(int logins) {
        LogSettings audit = settings("oplog-audit.db");
        if (!keyFile_.empty())
            audit.auditKeyFile = folder / keyFile_;
        SecurityLog log(audit);
        for (int i = 1; i <= logins; ++i) {
            SecurityRecord record;
            record.user = "nms" + std::to_string(i);
            record.peer = "10.0.0.1:700";
            record.outcome = i % 2 == 0 ? "wrong-password" : "ok";
            log.write(record);
        }
    }
    std::string keyFile_;  ///< key file of the security log; empty for none

    static OperationRecord request(const std::string& operation, const std::string& user = "nms1") {
        OperationRecord record;
        record.time = UtcTime(1740830400123ms);
        record.user = user;
        record.nmsAddress = "10.0.0.1:700";
        record.peer = "10.0.0.2:800";
        record.operation = operation;
        record.objectKind = ObjectKind::Manager;
        record.object = "EMS";
        record.outcome = "ok";
        record.duration = 1500us;
        return record;
    }
    void tamper(const std::string& statement) {
        SQLite::Database((folder / "oplog-audit.db").string(), SQLite::OPEN_READWRITE)
            .exec(statement);
    }
};

TEST_F(LogCommands, OplogPrintsATable) {
    makeOperationLog({request("getManager"), request("a name much longer than its column is")});
    const ToolRun run = kelpctl("oplog");
    EXPECT_EQ(run.status, 0) << run;
    EXPECT_EQ(run.errors, "");
    const std::vector<std::string> lines = linesOf(run.output);
    ASSERT_THAT(lines, SizeIs(3));
    EXPECT_THAT(lines[0],
                testing::MatchesRegex("TIME +USER +NMS +PEER +OPERATION +OBJECT +MS +OUTCOME"));
    EXPECT_EQ(
        lines[1],
        "2025-03-01T12:00:00.123Z  nms1          10.0.0.1:700           10.0.0.2:800           "
        "getManager                            manager EMS           1.5       ok");
    EXPECT_THAT(lines[2], HasSubstr("  a name much longer than its column is  manager EMS  "));
}

TEST_F(LogCommands, OplogSearches) {
    OperationRecord failed = request("getEMS", "nms2");
    failed.outcome = "EXCPT_ENTITY_NOT_FOUND";
    failed.time += 1h;
    failed.peer = "[::1]:9";
    makeOperationLog({request("getManager"), failed});
    for (const char* const condition :
         {"--user nms2", "--operation getEMS", "--outcome failed",
          "--outcome EXCPT_ENTITY_NOT_FOUND", "--address ::1", "--since 2025-03-01T13:00",
          "--newest 1", "--user nms2 --outcome failed"}) {
        const ToolRun run = kelpctl(std::string("oplog --json ") + condition);
        ASSERT_THAT(linesOf(run.output), SizeIs(1)) << condition << ": " << run;
        EXPECT_EQ(json::parse(run.output)["operation"], "getEMS") << condition;
    }
    EXPECT_THAT(linesOf(kelpctl("oplog --json --until 2025-03-01T13:00").output),
                ElementsAre(HasSubstr("getManager")));
    EXPECT_EQ(kelpctl("oplog --json --since 1h").output, "");
    EXPECT_THAT(linesOf(kelpctl("oplog --json --since 36500d").output), SizeIs(2));
}

TEST_F(LogCommands, OplogExportsCsv) {
    makeOperationLog({request("getManager", "a \"b\", c")});
    EXPECT_EQ(kelpctl("oplog --csv").output,
              "id,time,user,nmsAddress,peer,operation,objectKind,object,outcome,detail,durationUs,"
              "missing,until\r\n"
              "1,2025-03-01T12:00:00.123Z,\"a \"\"b\"\", "
              "c\",10.0.0.1:700,10.0.0.2:800,getManager,manager,EMS,ok,,1500,,\r\n");
}

TEST_F(LogCommands, ATableShowsTheNewestAndSaysSo) {
    std::vector<OperationRecord> records;
    for (int i = 0; i < 250; ++i)
        records.push_back(request("op" + std::to_string(i)));
    makeOperationLog(records);
    const ToolRun run = kelpctl("oplog");
    EXPECT_THAT(linesOf(run.output), SizeIs(201));
    EXPECT_THAT(run.output, HasSubstr("op249"));
    EXPECT_THAT(run.errors, HasSubstr("--newest shows more"));
    EXPECT_THAT(linesOf(kelpctl("oplog --newest 1000").output), SizeIs(251));
    EXPECT_THAT(linesOf(kelpctl("oplog --csv").output), SizeIs(251));
    EXPECT_THAT(linesOf(kelpctl("oplog --json").output), SizeIs(250));
}

TEST_F(LogCommands, AGapStandsOutInATable) {
    makeOperationLog({request("getManager")});
    SQLite::Database((folder / "oplog.db").string(), SQLite::OPEN_READWRITE)
        .exec("UPDATE block SET missing = 42, until_ms = from_ms + 1000");
    EXPECT_THAT(
        kelpctl("oplog").output,
        HasSubstr(
            "2025-03-01T12:00:00.123Z  *** 42 record(s) missing until 2025-03-01T12:00:01.123Z\n"));
}

TEST_F(LogCommands, ALogThatIsBeingWrittenIsRead) {
    OperationLog log(settings("oplog.db"));
    log.write(request("getManager"));
    ASSERT_TRUE(log.flush(30s));
    const ToolRun run = kelpctl("oplog --json");
    EXPECT_THAT(linesOf(run.output), SizeIs(1)) << run;
}

TEST_F(LogCommands, TheConfiguredDatabaseIsRead) {
    folder.write("kelp.toml", "[oplog]\ndatabase = \"" + (folder / "calls.db").string() + "\"\n");
    OperationLog(settings("calls.db")).write(request("getManager"));
    EXPECT_THAT(linesOf(kelpctl("oplog --json").output), SizeIs(1));
    makeOperationLog({request("elsewhere")});
    EXPECT_THAT(kelpctl("oplog --json --database oplog.db").output, HasSubstr("elsewhere"));
}

TEST_F(LogCommands, FailuresSayWhyInOneLine) {
    EXPECT_TRUE(kelpctl("oplog").failedWith(1, "oplog.db does not exist"));
    EXPECT_TRUE(kelpctl("audit").failedWith(1, "oplog-audit.db does not exist"));
    EXPECT_TRUE(kelpctl("audit verify").failedWith(1, "oplog-audit.db does not exist"));
    makeOperationLog({request("getManager")});
    EXPECT_TRUE(
        kelpctl("oplog --since yesterday").failedWith(1, "--since: \"yesterday\" is not a time"));
    EXPECT_TRUE(kelpctl("oplog --json --csv").failedWith(2, "--json"));
    EXPECT_TRUE(kelpctl("oplog --newest 0").failedWith(2, "--newest"));
    EXPECT_TRUE(kelpctl("audit --database oplog.db").failedWith(1, "is not a security log"));
    folder.write("garbage.db", std::string(10000, 'g'));
    EXPECT_TRUE(kelpctl("oplog --database garbage.db").failedWith(1, "is damaged"));
    EXPECT_FALSE(std::filesystem::exists(folder / "oplog-audit.db"));
}

TEST_F(LogCommands, AuditHelpListsEveryEvent) {
    const std::string help = tool("audit --help").output;
    for (int event = 0; event <= static_cast<int>(SecurityEvent::NamingChange); ++event)
        EXPECT_THAT(help, HasSubstr(textOf(static_cast<SecurityEvent>(event))));
}

TEST_F(LogCommands, AuditSearchesTheSecurityLog) {
    makeSecurityLog(4);
    const ToolRun table = kelpctl("audit");
    EXPECT_THAT(linesOf(table.output), SizeIs(5));
    EXPECT_THAT(table.output,
                testing::ContainsRegex("TIME +EVENT +USER +NMS +PEER +OBJECT +OUTCOME +DETAIL"));
    const ToolRun run = kelpctl("audit --event login --outcome failed --address 10.0.0.1 --json");
    ASSERT_THAT(linesOf(run.output), SizeIs(2)) << run;
    EXPECT_EQ(json::parse(linesOf(run.output)[0])["user"], "nms2");
    EXPECT_THAT(linesOf(kelpctl("audit --csv").output), SizeIs(5));
}

TEST_F(LogCommands, VerifyShowsTheHeadOfAWholeChain) {
    makeSecurityLog(4);
    const ToolRun run = kelpctl("audit verify");
    EXPECT_EQ(run.status, 0) << run;
    EXPECT_THAT(run.output, StartsWith("4 record(s) checked, head 4:"));
    const std::string head = run.output.substr(run.output.find("4:", 5));
    EXPECT_EQ(kelpctl("audit verify --head " + head.substr(0, head.size() - 1)).status, 0);
}

TEST_F(LogCommands, VerifyFindsWhatWasTamperedWith) {
    makeSecurityLog(4);
    tamper("UPDATE record SET outcome = 'ok' WHERE id = 2; DELETE FROM record WHERE id = 4");
    const ToolRun run = kelpctl("audit verify");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.output, HasSubstr("*** record 2 is not what was written there\n"));
    EXPECT_THAT(run.output, HasSubstr("*** record 4 is missing at the end\n"));
    EXPECT_EQ(run.errors, "kelpctl: the chain of the security log is broken\n");
}

TEST_F(LogCommands, AChainRecreatedWithoutTheKeyIsDetected) {
    makeSecurityLog(4);
    std::filesystem::rename(folder / "oplog-audit.db", folder / "forged.db");
    keyFile_ = "audit.key";
    makeSecurityLog(4);
    ASSERT_EQ(kelpctl("audit verify").status, 0);
    std::filesystem::rename(folder / "forged.db", folder / "oplog-audit.db");
    const ToolRun run = kelpctl("audit verify");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.output, HasSubstr("*** record 1 was not made with the key\n"));
}

TEST_F(LogCommands, ACutTailIsDetectedWithTheExportedHead) {
    keyFile_ = "audit.key";
    makeSecurityLog(4);
    ASSERT_EQ(kelpctl("audit verify --export-head heads").status, 0);
    ASSERT_EQ(kelpctl("audit verify --export-head heads").status, 0);
    EXPECT_THAT(linesOf(contentOf(folder / "heads")), SizeIs(2));
    EXPECT_EQ(kelpctl("audit verify --head heads").status, 0);
    tamper(
        "DELETE FROM record WHERE id > 3; UPDATE head SET id = 3, hash = (SELECT hash FROM record "
        "WHERE id = "
        "3)");
    // without a known head, the shortened chain appears complete
    EXPECT_EQ(kelpctl("audit verify").status, 0);
    const ToolRun run = kelpctl("audit verify --head heads");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.output, HasSubstr(" is not in the chain\n"));
    EXPECT_TRUE(kelpctl("audit verify --head pw").failedWith(1, "is not of the form NUMBER:HASH"));
    EXPECT_TRUE(kelpctl("audit verify --head /dev/null").failedWith(1, "/dev/null holds no head"));
}

TEST_F(LogCommands, TheHeadOfABrokenChainIsNotExported) {
    makeSecurityLog(4);
    tamper("UPDATE record SET outcome = 'ok' WHERE id = 2");
    EXPECT_EQ(kelpctl("audit verify --export-head heads").status, 1);
    EXPECT_FALSE(std::filesystem::exists(folder / "heads"));
}

TEST_F(LogCommands, ALostKeyIsNamed) {
    keyFile_ = "audit.key";
    makeSecurityLog(1);
    std::filesystem::rename(folder / "audit.key", folder / "copy.key");
    EXPECT_TRUE(kelpctl("audit verify").failedWith(1, "audit.key is missing"));
    EXPECT_EQ(kelpctl("audit verify --key-file copy.key").status, 0);
    const ToolRun added = kelpctl("user add nms1 --password-file pw");
    EXPECT_EQ(added.status, 3) << added;
    EXPECT_THAT(added.errors, HasSubstr("audit.key is missing"));
}

TEST_F(LogCommands, VerifyMissesAHeadThatWasNotedElsewhere) {
    makeSecurityLog(4);
    EXPECT_EQ(kelpctl("audit verify --head 4:" + std::string(64, 'a')).status, 1);
    EXPECT_TRUE(kelpctl("audit verify --head 4").failedWith(1, "is not of the form NUMBER:HASH"));
}

TEST(TimesOnTheCommandLine, AreUtcOrAnAge) {
    const UtcTime now(1740830400000ms);
    EXPECT_EQ(ctl::momentOf("2025-03-01", "--since", now), now - 12h);
    EXPECT_EQ(ctl::momentOf("90s", "--since", now), now - 90s);
    EXPECT_EQ(ctl::momentOf("15m", "--since", now), now - 15min);
    EXPECT_EQ(ctl::momentOf("2h", "--since", now), now - 2h);
    EXPECT_EQ(ctl::momentOf("7d", "--since", now), now - 7 * 24h);
    for (const char* const text : {"", "h", "2", "2w", "-2h", "2hh", "9999999d", "2025-02-30"})
        EXPECT_THROW(ctl::momentOf(text, "--since", now), std::runtime_error) << text;
}

}  // namespace
}  // namespace kelp::test
