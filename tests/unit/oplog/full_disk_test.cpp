// A disk that is really full: a small file system in memory. Built only where such a disk can be
// mounted.

#include <sys/mount.h>

#include <thread>

#include "log_fixture.h"
#include "support/small_disk.h"

namespace kelp::test {
namespace {

using testing::SizeIs;

class FullDisk : public LogTest {
  protected:
    void SetUp() override { ASSERT_TRUE(disk_.isMounted()); }
    /// Write records during the outage. 3000 or more do not fit in the free space that a database
    /// may have left within its pages.
    void writeMany(OperationLog& log, int count) {
        for (int i = 0; i < count; ++i)
            log.write(request("during"));
    }
    void beginOutage(OperationLog& log) {
        log.write(request("before"));
        ASSERT_TRUE(log.flush(kPatience));
        disk_.fill();
    }
    std::uint64_t countOf(const std::string& operation) {
        LogQuery query;
        query.operation = operation;
        std::uint64_t count = 0;
        for (const LogEntry& each : read(database(), LogKind::Operations, query))
            count += each.missing == 0 ? 1 : 0;
        return count;
    }
    std::vector<LogEntry> gaps() {
        std::vector<LogEntry> gaps;
        for (const LogEntry& each : read())
            if (each.missing > 0)
                gaps.push_back(each);
        return gaps;
    }

    const SmallDisk disk_{folder_.path()};
};

TEST_F(FullDisk, ShorterThanTheQueueHoldsLosesNothing) {
    OperationLog log(settings(5000));
    beginOutage(log);
    writeMany(log, 3000);
    ASSERT_TRUE(trace_.waitFor("full", kPatience));
    EXPECT_TRUE(log.counts().fails);
    disk_.makeRoom();
    ASSERT_TRUE(log.flush(kPatience));
    EXPECT_EQ(countOf("before"), 1u);
    EXPECT_EQ(countOf("during"), 3000u);
    EXPECT_THAT(gaps(), SizeIs(0));
    EXPECT_FALSE(log.counts().fails);
}

TEST_F(FullDisk, LongerThanTheQueueHoldsLeavesOneGapRecordWithTheCount) {
    OperationLog log(settings(3000));
    beginOutage(log);
    const UtcTime start = now();
    writeMany(log, 4234);
    ASSERT_TRUE(trace_.waitFor("full", kPatience));
    EXPECT_EQ(log.counts().waiting, 3000u);
    disk_.makeRoom();
    ASSERT_TRUE(log.flush(kPatience));
    log.write(request("after"));
    ASSERT_TRUE(log.flush(kPatience));

    EXPECT_EQ(countOf("during"), 3000u);
    const std::vector<LogEntry> found = gaps();
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_EQ(found[0].missing, 1234u);
    EXPECT_GE(found[0].time, start);
    EXPECT_GE(found[0].until, found[0].time);
    // the gap lies between the records that waited and the later ones
    EXPECT_EQ(found[0].id, 1 + 3000 + 1);
    const LogCounts counts = log.counts();
    EXPECT_EQ(counts.taken, 1 + 4234 + 1u);
    EXPECT_EQ(counts.missing, 1234u);
    EXPECT_EQ(counts.taken, counts.written + counts.missing + counts.aside + counts.waiting);
}

TEST_F(FullDisk, IsReportedOnceAndSoIsItsEnd) {
    OperationLog log(settings(5000));
    beginOutage(log);
    writeMany(log, 3000);
    ASSERT_TRUE(trace_.waitFor("full", kPatience));
    for (int i = 0; i < 3; ++i) {
        writeMany(log, 10);
        std::this_thread::sleep_for(50ms);
    }
    disk_.makeRoom();
    ASSERT_TRUE(log.flush(kPatience));
    EXPECT_EQ(trace_.count("records wait in memory"), 1u);
    EXPECT_TRUE(trace_.waitFor("can be written again"));
    EXPECT_EQ(trace_.count("can be written again"), 1u);
}

TEST_F(FullDisk, AtTheStopTheRestGoesToASideFileThatTheNextStartReads) {
    const TemporaryDirectory elsewhere;
    ::umount2(folder_.path().c_str(), 0);
    ASSERT_EQ(::mount("tmpfs", folder_.path().c_str(), "tmpfs", 0, "size=2m"), 0);
    const ScopedEnvironment temporary("TMPDIR", elsewhere.path().c_str());
    {
        OperationLog log(settings(5000));
        beginOutage(log);
        writeMany(log, 3000);
        ASSERT_TRUE(trace_.waitFor("full", kPatience));
        log.stop();
        EXPECT_EQ(log.counts().aside, 3000u);
    }
    // the side file goes elsewhere because the database's disk has no room for it
    ASSERT_TRUE(
        trace_.contains("3000 record(s) went to the side file " + elsewhere.path().string()));
    disk_.makeRoom();
    for (const auto& each : std::filesystem::directory_iterator(elsewhere.path()))
        std::filesystem::copy(each.path(), folder_ / each.path().filename().string());
    OperationLog(settings()).stop();
    EXPECT_EQ(countOf("before"), 1u);
    EXPECT_EQ(countOf("during"), 3000u);
}

TEST_F(FullDisk, TheSecurityLogsChainIsWholeAfterwards) {
    SecurityLog log(settings(5000));
    log.write(login("before"));
    ASSERT_TRUE(log.flush(kPatience));
    disk_.fill();
    for (int i = 0; i < 3000; ++i)
        log.write(login("during"));
    ASSERT_TRUE(trace_.waitFor("full", kPatience));
    disk_.makeRoom();
    ASSERT_TRUE(log.flush(kPatience));
    const Verification verification = verify(database());
    EXPECT_EQ(verification.records, 3001u);
    EXPECT_THAT(verification.problems, SizeIs(0));
}

}  // namespace
}  // namespace kelp::test
