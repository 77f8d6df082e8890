#include <sys/stat.h>

#include <set>
#include <thread>

#include "log_fixture.h"

namespace kelp::test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class OperationLogTest : public LogTest {};

TEST_F(OperationLogTest, EveryFieldOfARecordComesBack) {
    OperationRecord record;
    record.time = UtcTime(1740830400123ms);
    record.user = "nms1";
    record.nmsAddress = "10.0.0.1:700";
    record.peer = "10.0.0.2:800";
    record.operation = "getEMS";
    record.objectKind = ObjectKind::Manager;
    record.object = "EMS";
    record.outcome = "ok";
    record.duration = 1234us;
    OperationLog log(settings());
    EXPECT_TRUE(log.write(record));
    log.stop();
    const std::vector<LogEntry> entries = read();
    ASSERT_THAT(entries, SizeIs(1));
    const LogEntry& entry = entries.front();
    EXPECT_EQ(timeText(entry.time), "2025-03-01T12:00:00.123Z");
    EXPECT_EQ(entry.user, "nms1");
    EXPECT_EQ(entry.nmsAddress, "10.0.0.1:700");
    EXPECT_EQ(entry.peer, "10.0.0.2:800");
    EXPECT_EQ(entry.operation, "getEMS");
    EXPECT_EQ(entry.objectKind, "manager");
    EXPECT_EQ(entry.object, "EMS");
    EXPECT_EQ(entry.outcome, "ok");
    EXPECT_EQ(entry.duration, 1234us);
    EXPECT_EQ(entry.missing, 0u);
}

TEST_F(OperationLogTest, WhatIsNotKnownStaysEmpty) {
    OperationLog log(settings());
    log.write(request("ping"));
    log.stop();
    const LogEntry entry = read().at(0);
    EXPECT_EQ(entry.duration, std::nullopt);
    EXPECT_EQ(entry.outcome, "");
    EXPECT_EQ(entry.objectKind, "");
}

TEST_F(OperationLogTest, RecordsOfOneThreadKeepTheirOrder) {
    constexpr int kRecords = 12000;
    OperationLog log(settings());
    for (int i = 0; i < kRecords; ++i)
        ASSERT_TRUE(log.write(request(std::to_string(i))));
    log.stop();
    const std::vector<LogEntry> entries = read();
    ASSERT_THAT(entries, SizeIs(kRecords));
    for (int i = 0; i < kRecords; ++i)
        ASSERT_EQ(entries[static_cast<std::size_t>(i)].operation, std::to_string(i));
}

TEST_F(OperationLogTest, HundredThousandRecordsOfManyThreadsAreAllThere) {
    constexpr int kThreads = 8, kEach = 12500;
    OperationLog log(settings());
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&log] {
            for (int i = 0; i < kEach; ++i)
                log.write(request("getEMS"));
        });
    for (std::thread& each : threads)
        each.join();
    log.stop();
    OtherConnection other(database());
    EXPECT_EQ(other.number("SELECT sum(records) FROM block WHERE missing = 0"), kThreads * kEach);
    EXPECT_EQ(other.number("SELECT sum(records) FROM block"), kThreads * kEach);
    EXPECT_EQ(log.counts().written, static_cast<std::uint64_t>(kThreads * kEach));
    EXPECT_EQ(log.counts().waiting, 0u);
}

TEST_F(OperationLogTest, ARecordReachesTheFileByItself) {
    OperationLog log(settings());
    log.write(request("getEMS"));
    EXPECT_TRUE(waitUntil(
        [&] { return std::filesystem::exists(database()) && log.counts().written == 1; }));
    EXPECT_THAT(operationsOf(read()), ElementsAre("getEMS"));
}

TEST_F(OperationLogTest, RecordsAreWrittenInBatches) {
    OperationLog log(settings());
    ASSERT_TRUE(waitUntil([&] { return std::filesystem::exists(database()); }));
    ASSERT_TRUE(log.write(request("first")));
    ASSERT_TRUE(log.flush(kPatience));
    OtherConnection other(database());
    other.lock();
    for (int i = 0; i < 3000; ++i)
        log.write(request("getEMS"));
    other.unlock();
    // numbers of records that a reader sees between two batches
    std::set<std::int64_t> seen;
    EXPECT_TRUE(waitUntil(
        [&] {
            seen.insert(other.number("SELECT coalesce(sum(records), 0) FROM block"));
            return *seen.rbegin() == 3001;
        },
        kPatience));
    EXPECT_LE(seen.size(), 5u);
}

TEST_F(OperationLogTest, TheFileIsAccessibleToItsOwnerOnly) {
    OperationLog log(settings());
    log.write(request("getEMS"));
    log.stop();
    struct stat status {};
    ASSERT_EQ(::stat(database().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(OperationLogTest, AMissingFolderIsMade) {
    LogSettings below = settings();
    below.database = folder_ / "a" / "b" / "oplog.db";
    OperationLog log(below);
    log.write(request("getEMS"));
    log.stop();
    EXPECT_THAT(read(below.database), SizeIs(1));
}

TEST_F(OperationLogTest, TextOfAPeerIsEscapedAndCut) {
    OperationLog log(settings());
    OperationRecord record = request(std::string(100000, 'x'));
    record.user = "a\nb\x1b[2J\xff";
    log.write(record);
    log.stop();
    const LogEntry entry = read().at(0);
    EXPECT_EQ(entry.user, "a\\nb\\x1B[2J\\xFF");
    EXPECT_THAT(entry.operation,
                testing::AllOf(SizeIs(testing::Le(128u)), testing::EndsWith("x...")));
}

TEST_F(OperationLogTest, ALogIsContinuedByTheNextStart) {
    for (const char* const operation : {"first", "second"}) {
        OperationLog log(settings());
        log.write(request(operation));
    }
    EXPECT_THAT(operationsOf(read()), ElementsAre("first", "second"));
}

TEST_F(OperationLogTest, AfterTheStopNothingIsAccepted) {
    OperationLog log(settings());
    log.stop();
    EXPECT_FALSE(log.write(request("getEMS")));
    EXPECT_EQ(log.counts().taken, 0u);
    log.stop();
}

TEST_F(OperationLogTest, AReaderDuringItsSearchDoesNotDelayTheWriting) {
    OperationLog log(settings());
    for (int i = 0; i < 10; ++i)
        log.write(request("before"));
    ASSERT_TRUE(log.flush(kPatience));
    LogReader reader(database(), LogKind::Operations);
    int seen = 0;
    reader.search({}, [&](const LogEntry&) {
        if (seen++ == 0) {
            log.write(request("meanwhile"));
            EXPECT_TRUE(log.flush(kPatience));
        }
        return true;
    });
    EXPECT_EQ(seen, 10);
    EXPECT_FALSE(trace_.contains("cannot"));
    EXPECT_EQ(log.counts().written, 11u);
}

}  // namespace
}  // namespace kelp::test
