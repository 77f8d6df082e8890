// The logs' disk is really full while the host serves. Built only where a small disk can be
// mounted.

#include <gmock/gmock.h>

#include "support/small_disk.h"
#include "system/audit/audit_fixture.h"
#include "system/audit/nms_group.h"

namespace kelp::test {
namespace {

using oplog::LogEntry;
using ::testing::SizeIs;

constexpr int kBefore = 100;
/// Number of calls during the outage. Their records do not fit in the free space that a database
/// may have left within its pages.
constexpr int kDuring = 6000;
/// Exit status of `kelpctl status`.
constexpr int kCriticalStatus = 20;
constexpr const char* kFails = "records wait in memory";
constexpr const char* kRecovered = "oplog.db can be written again";

class FullDisk : public AuditTest {
  protected:
    void SetUp() override {
        ASSERT_TRUE(disk_.isMounted());
        AuditTest::SetUp();
        std::filesystem::create_directory(elsewhere());
        host_.set("trace", "level", 1).setEnvironment("TMPDIR", elsewhere().string());
    }
    std::filesystem::path elsewhere() const { return host_.scratch("elsewhere"); }

    /// Start a host, let it serve calls, then fill the disk.
    void beginOutage() {
        startHost();
        nms_.emplace(host_, 1);
        nms_->logIn(0, kUser);
        ping(kBefore);
        ASSERT_EQ(countOnceThereAre("ping", kBefore), kBefore);
        disk_.fill();
    }
    /// Make calls that must all be answered. Return the duration of the longest.
    std::chrono::milliseconds ping(int count, std::chrono::milliseconds longAnswer = kPatience) {
        std::chrono::steady_clock::duration longest{};
        for (int i = 0; i < count; ++i) {
            const auto begin = std::chrono::steady_clock::now();
            (*nms_)[0].session()->ping();
            const auto took = std::chrono::steady_clock::now() - begin;
            longest = std::max(longest, took);
            longAnswers_ += took >= longAnswer ? 1 : 0;
        }
        pings_ += count;
        return std::chrono::duration_cast<std::chrono::milliseconds>(longest);
    }
    bool outageIsTold() {
        return host_.log().waitFor("[OperationLog] " + operationLog().string()) &&
               host_.log().waitFor(kFails);
    }

    const SmallDisk disk_{logFolder(), 24};
    std::optional<NmsGroup> nms_;
    int pings_ = 0;
    int longAnswers_ = 0;
};

TEST_F(FullDisk, ShorterThanTheQueueHoldsLosesNothing) {
    beginOutage();
    ping(kDuring);
    ASSERT_TRUE(outageIsTold());
    const CommandResult status = kelpctl({"status"});
    EXPECT_EQ(status.exitCode, kCriticalStatus) << status.output;
    EXPECT_NE(status.output.find("the operation log cannot be written"), std::string::npos)
        << status.output;
    ping(kBefore);
    EXPECT_FALSE(host_.log().contains(kRecovered));
    EXPECT_LT(countOf("ping"), pings_);
    disk_.makeRoom();

    ASSERT_TRUE(host_.log().waitFor(kRecovered));
    ping(kBefore);
    EXPECT_EQ(countOnceThereAre("ping", pings_), pings_);
    EXPECT_EQ(host_.stop(), 0);
    EXPECT_EQ(countOf("ping"), pings_);
    EXPECT_THAT(gaps(), SizeIs(0));
    expectSoundLogs();
}

TEST_F(FullDisk, LongerThanTheQueueHoldsLeavesOneGapRecordAndDelaysOneRequest) {
    constexpr int kQueue = 2000;
    constexpr std::chrono::milliseconds kStall{3000};
    host_.set("oplog", "queue_max", kQueue)
        .set("oplog", "stall_max_ms", static_cast<int>(kStall.count()));
    beginOutage();
    const oplog::UtcTime begin = oplog::now();
    ping(kDuring, kStall);
    ASSERT_TRUE(outageIsTold());
    EXPECT_EQ(longAnswers_, 1) << "one request waits for room, the others do not wait again";
    disk_.makeRoom();
    ASSERT_TRUE(host_.log().waitFor(kRecovered));
    ping(kBefore);
    EXPECT_EQ(host_.stop(), 0);

    const std::vector<LogEntry> found = gaps();
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_EQ(static_cast<int>(found[0].missing) + countOf("ping"), pings_);
    EXPECT_GE(found[0].missing, 1u);
    EXPECT_GE(found[0].time, begin);
    EXPECT_GE(found[0].until, found[0].time);
    expectSoundLogs();
}

TEST_F(FullDisk, AtAStopTheRestGoesToASideFileThatTheNextStartReads) {
    beginOutage();
    ping(kDuring);
    ASSERT_TRUE(outageIsTold());
    EXPECT_EQ(host_.stop(), 0);
    // the side file goes elsewhere because the database's disk has no room for it
    EXPECT_TRUE(host_.log().contains("record(s) went to the side file " + elsewhere().string()));
    disk_.makeRoom();
    EXPECT_LT(countOf("ping"), pings_);
    for (const auto& each : std::filesystem::directory_iterator(elsewhere()))
        std::filesystem::copy(each.path(), logFolder() / each.path().filename());

    for (int starts = 0; starts < 2; ++starts) {
        startHost();
        EXPECT_EQ(countOnceThereAre("ping", pings_), pings_);
        EXPECT_EQ(host_.stop(), 0);
        EXPECT_EQ(countOf("ping"), pings_);
    }
    EXPECT_EQ(host_.log().count("record(s) of " + operationLog().string() + ".rest-"), 1u);
    EXPECT_THAT(gaps(), SizeIs(0));
    expectSoundLogs();
}

}  // namespace
}  // namespace kelp::test
