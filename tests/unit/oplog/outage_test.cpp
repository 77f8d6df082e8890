// A database locked by another process, a damaged file, and a file that is not a database.

#include <fstream>
#include <stdexcept>
#include <thread>

#include "log_fixture.h"

namespace kelp::test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class LockedDatabase : public LogTest {
  protected:
    void beginWith(OperationLog& log) {
        log.write(request("before"));
        ASSERT_TRUE(log.flush(kPatience));
        other_.emplace(database());
        other_->lock();
    }
    std::optional<OtherConnection> other_;
};

TEST_F(LockedDatabase, IsWaitedForAndNothingIsLost) {
    OperationLog log(settings());
    beginWith(log);
    for (int i = 0; i < 500; ++i)
        log.write(request("during"));
    ASSERT_TRUE(trace_.waitFor("is locked by another process", kPatience));
    EXPECT_THAT(read(), SizeIs(1));
    other_->unlock();
    ASSERT_TRUE(log.flush(kPatience));
    EXPECT_THAT(read(), SizeIs(501));
}

TEST_F(LockedDatabase, LongerThanTheQueueHoldsLeavesOneGapRecord) {
    OperationLog log(settings(4));
    beginWith(log);
    for (int i = 0; i < 10; ++i)
        log.write(request(std::to_string(i)));
    other_->unlock();
    ASSERT_TRUE(log.flush(kPatience));
    EXPECT_THAT(operationsOf(read()), ElementsAre("before", "0", "1", "2", "3", "gap 6"));
}

TEST_F(LockedDatabase, ARecordThatFindsAFullQueueWaitsForAPlaceAndGetsIt) {
    OperationLog log(settings(4, 60s));
    beginWith(log);
    for (int i = 0; i < 4; ++i)
        ASSERT_TRUE(log.write(request("during")));
    std::thread waiting([&log] { EXPECT_TRUE(log.write(request("waited"))); });
    ASSERT_TRUE(waitUntil([&log] { return log.counts().taken == 6; }));
    other_->unlock();
    waiting.join();
    log.stop();
    EXPECT_THAT(operationsOf(read()),
                ElementsAre("before", "during", "during", "during", "during", "waited"));
}

TEST_F(LockedDatabase, AfterOneHasWaitedInVainNoOtherWaits) {
    constexpr auto kStall = 300ms;
    constexpr int kRecords = 1000;
    OperationLog log(settings(4, kStall));
    beginWith(log);
    for (int i = 0; i < 4; ++i)
        ASSERT_TRUE(log.write(request("during")));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(log.write(request("waits")));
    EXPECT_GE(std::chrono::steady_clock::now() - start, kStall);
    for (int i = 0; i < kRecords; ++i)
        EXPECT_FALSE(log.write(request("does not")));
    // far less than one stall for each record
    EXPECT_LT(std::chrono::steady_clock::now() - start, kStall * kRecords / 10);
    other_->unlock();
    log.stop();
    EXPECT_THAT(operationsOf(read()).back(), "gap " + std::to_string(kRecords + 1));
}

TEST_F(LockedDatabase, ThoseWhoWaitAtTheStopAreCounted) {
    OperationLog log(settings(4, 60s));
    beginWith(log);
    for (int i = 0; i < 4; ++i)
        ASSERT_TRUE(log.write(request("during")));
    std::thread waiting([&log] { EXPECT_FALSE(log.write(request("waits"))); });
    ASSERT_TRUE(waitUntil([&log] { return log.counts().taken == 6; }));
    log.stop();
    waiting.join();
    const LogCounts counts = log.counts();
    EXPECT_EQ(counts.aside, 4u);
    EXPECT_EQ(counts.missing, 1u);
    other_->unlock();
    OperationLog(settings()).stop();
    EXPECT_THAT(operationsOf(read()),
                ElementsAre("before", "during", "during", "during", "during", "gap 1"));
}

TEST_F(LockedDatabase, TheSideFileIsNextToTheDatabaseAndIsReadOnce) {
    OperationLog log(settings());
    beginWith(log);
    OperationRecord record = request("during");
    record.user = "\xff\n";
    record.duration = 5us;
    log.write(record);
    log.stop();
    std::filesystem::path side;
    for (const auto& each : std::filesystem::directory_iterator(folder_.path()))
        if (each.path().string().find(".rest-") != std::string::npos)
            side = each.path();
    ASSERT_FALSE(side.empty());
    const std::string content = contentOf(side);
    other_->unlock();
    OperationLog(settings()).stop();
    EXPECT_FALSE(std::filesystem::exists(side));
    EXPECT_THAT(operationsOf(read()), ElementsAre("before", "during"));
    EXPECT_EQ(read()[1].user, "\\xFF\\n");
    EXPECT_EQ(read()[1].duration, 5us);
    // as after a crash between writing the database and removing the file
    folder_.write(side.filename().string(), content);
    OperationLog(settings()).stop();
    EXPECT_FALSE(std::filesystem::exists(side));
    EXPECT_THAT(read(), SizeIs(2));
}

class OddFile : public LogTest {
  protected:
    std::vector<std::filesystem::path> setAside() const {
        std::vector<std::filesystem::path> files;
        for (const auto& each : std::filesystem::directory_iterator(folder_.path()))
            if (each.path().filename().string().starts_with("oplog.db.damaged-"))
                files.push_back(each.path());
        return files;
    }
};

TEST_F(OddFile, ADamagedFileIsSetAsideAndANewOneStarted) {
    const std::string garbage(100000, 'g');
    folder_.write("oplog.db", garbage);
    OperationLog log(settings());
    log.write(request("getEMS"));
    ASSERT_TRUE(log.flush(kPatience));
    EXPECT_THAT(operationsOf(read()), ElementsAre("getEMS"));
    ASSERT_THAT(setAside(), SizeIs(1));
    EXPECT_EQ(contentOf(setAside()[0]), garbage);
    EXPECT_TRUE(trace_.contains("is damaged"));
}

TEST_F(OddFile, DamageWhileTheLogIsNotOpenLosesNoNewRecord) {
    {
        OperationLog log(settings());
        for (int i = 0; i < 2000; ++i)
            log.write(request("before"));
    }
    {
        std::fstream file(database(), std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(4096);
        file << std::string(static_cast<std::size_t>(std::filesystem::file_size(database())) - 4096,
                            '\x5a');
    }
    OperationLog log(settings());
    log.write(request("after"));
    ASSERT_TRUE(log.flush(kPatience));
    EXPECT_THAT(operationsOf(read()), ElementsAre("after"));
    EXPECT_THAT(setAside(), SizeIs(1));
}

TEST_F(OddFile, TheSecurityLogRecordsADamagedFileInItsNewChain) {
    folder_.write("oplog.db", std::string(100000, 'g'));
    SecurityLog log(settings());
    log.write(login("nms1"));
    ASSERT_TRUE(log.flush(kPatience));
    EXPECT_THAT(operationsOf(read(database(), LogKind::Security)),
                ElementsAre("set-aside", "login"));
    EXPECT_THAT(verify(database()).problems, SizeIs(0));
}

TEST_F(OddFile, AnotherProgramsDatabaseIsLeftAlone) {
    {
        SQLite::Database foreign(database().string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
        foreign.exec("CREATE TABLE theirs (a); PRAGMA user_version = 7");
    }
    const std::string content = contentOf(database());
    OperationLog log(settings());
    log.write(request("getEMS"));
    ASSERT_TRUE(trace_.waitFor("is not an operation log", kPatience));
    log.stop();
    EXPECT_EQ(contentOf(database()), content);
    EXPECT_EQ(log.counts().aside, 1u);
}

TEST_F(OddFile, TheSecurityLogIsNoOperationLog) {
    SecurityLog(settings()).stop();
    EXPECT_THROW(LogReader(database(), LogKind::Operations), std::runtime_error);
    EXPECT_NO_THROW(LogReader(database(), LogKind::Security));
}

TEST_F(OddFile, ADeletedFileIsRecreated) {
    OperationLog log(settings());
    log.write(request("before"));
    ASSERT_TRUE(log.flush(kPatience));
    std::filesystem::remove(database());
    log.write(request("after"));
    ASSERT_TRUE(log.flush(kPatience));
    EXPECT_THAT(operationsOf(read()), ElementsAre("after"));
}

}  // namespace
}  // namespace kelp::test
