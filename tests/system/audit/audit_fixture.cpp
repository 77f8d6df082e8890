#include "system/audit/audit_fixture.h"

#include <SQLiteCpp/SQLiteCpp.h>

namespace kelp::test {

namespace {

using oplog::LogEntry;
using oplog::LogKind;
using oplog::LogQuery;

constexpr const char* kReadAgain = "the configuration has been read again";

std::vector<LogEntry> read(const std::filesystem::path& database, LogKind kind,
                           const LogQuery& query) {
    std::vector<LogEntry> entries;
    oplog::LogReader(database, kind).search(query, [&entries](const LogEntry& entry) {
        entries.push_back(entry);
        return true;
    });
    return entries;
}

bool isOpen(const std::filesystem::path& database, LogKind kind) {
    try {
        const oplog::LogReader reader(database, kind);
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

std::string integrityOf(const std::filesystem::path& database) {
    SQLite::Database opened(database.string(), SQLite::OPEN_READONLY, 2000);
    return opened.execAndGet("PRAGMA integrity_check").getString();
}

}  // namespace

AuditTest::AuditTest() {
    std::filesystem::create_directory(logFolder());
    host_.set("oplog", "database", quoted(operationLog().string()));
}

void AuditTest::SetUp() {
    host_.addUser(kUser);
}

void AuditTest::startHost() {
    host_.start();
    if (!eventually([this] {
            return isOpen(operationLog(), LogKind::Operations) &&
                   isOpen(securityLog(), LogKind::Security);
        }))
        throw std::runtime_error("kelpd does not open its logs");
}

std::vector<LogEntry> AuditTest::operations(const LogQuery& query) const {
    return read(operationLog(), LogKind::Operations, query);
}

std::vector<LogEntry> AuditTest::security(const std::string& event,
                                          const std::string& outcome) const {
    LogQuery query;
    query.operation = event;
    query.outcome = outcome;
    return read(securityLog(), LogKind::Security, query);
}

int AuditTest::countOf(const std::string& operation) const {
    LogQuery query;
    query.operation = operation;
    query.outcome = "ok";
    int count = 0;
    oplog::LogReader(operationLog(), LogKind::Operations)
        .search(query, [&count](const LogEntry& entry) {
            count += entry.missing == 0 ? 1 : 0;
            return true;
        });
    return count;
}

int AuditTest::countOnceThereAre(const std::string& operation, int wanted) const {
    int count = 0;
    eventually([&] {
        count = countOf(operation);
        return count >= wanted;
    });
    return count;
}

std::vector<LogEntry> AuditTest::gaps() const {
    std::vector<LogEntry> found;
    for (const LogEntry& each : operations()) {
        if (each.missing > 0)
            found.push_back(each);
    }
    return found;
}

CommandResult AuditTest::kelpctl(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--config", host_.configFile().string()});
    Launch launch = host_.launch(KELPCTL, std::move(arguments));
    launch.output = host_.scratch("kelpctl-" + std::to_string(++runs_));
    const int exitCode = runToEnd(launch);
    return {exitCode, contentOf(launch.output)};
}

void AuditTest::expectSoundLogs() {
    EXPECT_EQ(integrityOf(operationLog()), "ok");
    EXPECT_EQ(integrityOf(securityLog()), "ok");
    const CommandResult searched = kelpctl({"oplog", "--newest", "1", "--json"});
    EXPECT_EQ(searched.exitCode, 0) << searched.output;
    EXPECT_EQ(searched.output.front(), '{') << searched.output;
    const CommandResult verified = kelpctl({"audit", "verify"});
    EXPECT_EQ(verified.exitCode, 0) << verified.output;
    EXPECT_NE(verified.output.find("record(s) checked"), std::string::npos) << verified.output;
}

void AuditTest::reconfigure() {
    const std::size_t before = host_.log().count(kReadAgain);
    host_.reconfigure();
    if (!host_.log().waitFor(kReadAgain, before + 1))
        throw std::runtime_error("the configuration is not read again");
}

}  // namespace kelp::test
