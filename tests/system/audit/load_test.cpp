// The operation log under load, across a stop and across a sudden death of the host.

#include "system/audit/load.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>

#include "system/audit/audit_fixture.h"
#include "system/audit/nms_group.h"

namespace kelp::test {
namespace {

using oplog::LogEntry;
using ::testing::SizeIs;

/// Time for a part of the requests.
constexpr std::chrono::minutes kLongPatience{2};
constexpr int kRequests = kIsSanitized ? 20000 : 100000;
const std::vector<std::string> kOperations = {"ping", "getVersion", "getEMS"};

class LoadTest : public AuditTest {
  protected:
    void SetUp() override {
        AuditTest::SetUp();
        host_.set("trace", "level", 1);
        startHost();
    }

    /// Return callers that concurrently call two sessions, a manager and the factory, from NMS with
    /// new connections.
    std::vector<Load::Call> callers() {
        manager_ = emsMgr::EMSMgr_I::_nil();
        nms_.reset();
        nms_.emplace(host_, 3);
        for (std::size_t i = 0; i < 3; ++i)
            nms_->logIn(i, kUser);
        manager_ = nms_->manager(2);
        return {[this] { (*nms_)[0].session()->ping(); }, [this] { (*nms_)[1].session()->ping(); },
                [this] {
                    emsMgr::EMS_T_var ems;
                    manager_->getEMS(ems.out());
                },
                [this] { const CORBA::String_var version = nms_->factory()->getVersion(); }};
    }
    int countOfAll() const {
        int count = 0;
        for (const std::string& each : kOperations)
            count += countOf(each);
        return count;
    }
    int countOfAllOnceThereAre(int wanted) const {
        eventually([&] { return countOfAll() >= wanted; });
        return countOfAll();
    }
    /// Expect ids without gaps, and the requests of one caller in the order in which it made them.
    void expectOrder() const {
        std::int64_t last = 0;
        std::map<std::string, oplog::UtcTime> lastTimes;
        int wrong = 0;
        oplog::LogReader(operationLog(), oplog::LogKind::Operations)
            .search({}, [&](const LogEntry& entry) {
                wrong += entry.id == last + 1 ? 0 : 1;
                last = entry.id;
                oplog::UtcTime& lastTime = lastTimes[entry.nmsAddress + " " + entry.operation];
                wrong += entry.time >= lastTime ? 0 : 1;
                lastTime = entry.time;
                return true;
            });
        EXPECT_EQ(wrong, 0);
        EXPECT_GE(last, kRequests);
    }

    std::optional<NmsGroup> nms_;
    emsMgr::EMSMgr_I_var manager_;
};

TEST_F(LoadTest, EveryRequestLeavesOneRecord) {
    Load load(callers(), kRequests);
    load.wait();
    ASSERT_EQ(load.answered(), kRequests);
    EXPECT_EQ(countOfAllOnceThereAre(kRequests), kRequests);
    EXPECT_EQ(host_.stop(), 0);
    EXPECT_EQ(countOfAll(), kRequests);
    expectOrder();

    int lines = -1;  // -1 for the header of the output
    for (const std::string& each : kOperations) {
        const CommandResult csv = kelpctl({"oplog", "--csv", "--operation", each});
        EXPECT_EQ(csv.exitCode, 0);
        lines += static_cast<int>(std::count(csv.output.begin(), csv.output.end(), '\n'));
    }
    EXPECT_EQ(lines, kRequests + static_cast<int>(kOperations.size()) - 1);
}

TEST_F(LoadTest, RequestsAnsweredBeforeAndAfterAStopAreAllRecorded) {
    Load before(callers(), kRequests);
    ASSERT_TRUE(eventually([&] { return before.answered() >= kRequests / 3; }, kLongPatience));
    EXPECT_EQ(host_.stop(), 0);
    before.wait();
    const int answeredBefore = before.answered();
    ASSERT_LT(answeredBefore, kRequests);
    EXPECT_EQ(before.failed(), 4);
    // a request whose reply was cut off by the stop may have been carried out
    const int recordedBefore = countOfAll();
    EXPECT_GE(recordedBefore, answeredBefore);
    EXPECT_LE(recordedBefore, answeredBefore + before.failed());

    startHost();
    Load after(callers(), kRequests - answeredBefore);
    after.wait();
    ASSERT_EQ(answeredBefore + after.answered(), kRequests);
    EXPECT_EQ(host_.stop(), 0);
    EXPECT_EQ(countOfAll() - recordedBefore, after.answered());
    EXPECT_THAT(gaps(), SizeIs(0));
    expectOrder();
    expectSoundLogs();
}

TEST_F(LoadTest, SuddenDeathLosesNoWrittenRecordAndRecordsAreWrittenAllTheTime) {
    Load load(callers(), 100 * kRequests);
    ASSERT_TRUE(eventually([&] { return load.answered() >= kRequests / 20; }, kLongPatience));
    const int old = load.answered();
    // records are written while the load continues, not only after it
    ASSERT_TRUE(eventually([&] { return countOfAll() >= old; }, kLongPatience));
    host_.process().kill();
    load.wait();
    EXPECT_GT(load.answered(), old);

    const int recorded = countOfAll();
    EXPECT_GE(recorded, old);
    EXPECT_LE(recorded, load.answered() + load.failed());
    expectSoundLogs();

    startHost();
    Load after(callers(), kRequests / 20);
    after.wait();
    EXPECT_EQ(after.failed(), 0);
    EXPECT_EQ(host_.stop(), 0);
    EXPECT_EQ(countOfAll() - recorded, after.answered());
    EXPECT_THAT(gaps(), SizeIs(0));
    expectSoundLogs();
}

}  // namespace
}  // namespace kelp::test
