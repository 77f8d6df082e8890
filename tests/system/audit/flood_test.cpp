// An address without a log-in that floods the host: its traces in the logs, and its effect on
// others.

#include <gmock/gmock.h>

#include <algorithm>

#include "system/audit/audit_fixture.h"
#include "system/audit/nms_group.h"

namespace kelp::test {
namespace {

using oplog::LogEntry;
using ::testing::HasSubstr;

constexpr const char* kFlooder = "127.0.0.2";
constexpr int kCalls = 5000;
constexpr int kPings = 200;
constexpr int kIndividually = 100;  ///< maximum records of one outcome in one minute

class Flood : public AuditTest {
  protected:
    void SetUp() override {
        AuditTest::SetUp();
        startHost();
        nms_.logIn(0, kUser);
    }
    struct Outcome {
        int served = 0;
        int refused = 0;
    };
    /// Call the factory from the flooding address, and call the session of the NMS in between.
    Outcome flood() {
        Outcome outcome;
        const auto factory = nms_.factoryOver(relay_);
        for (int i = 0; i < kCalls; ++i) {
            try {
                const CORBA::String_var version = factory->getVersion();
                ++outcome.served;
            } catch (const CORBA::TRANSIENT&) {
                ++outcome.refused;
            }
            if (i % (kCalls / kPings) == 0)
                nms_[0].session()->ping();
        }
        return outcome;
    }
    std::vector<LogEntry> ofFlooder() const {
        oplog::LogQuery query;
        query.address = kFlooder;
        return operations(query);
    }

    NmsGroup nms_{host_, 1};
    const TcpRelay relay_{host_.port(), kFlooder};
};

TEST_F(Flood, IsRefusedSummarisedAndHarmsNoRecordOfALoggedInNms) {
    const Outcome outcome = flood();
    EXPECT_GE(outcome.served, 1000) << "the burst";
    EXPECT_GT(outcome.refused, 0);
    EXPECT_EQ(outcome.served + outcome.refused, kCalls);
    EXPECT_EQ(countOnceThereAre("ping", kPings), kPings) << "all of them";
    EXPECT_EQ(host_.stop(), 0);

    const std::vector<LogEntry> records = ofFlooder();
    const auto summaries = std::count_if(records.begin(), records.end(),
                                         [](const LogEntry& each) { return !each.detail.empty(); });
    EXPECT_GE(summaries, 1);
    // on a slow machine the calls take more than one minute, and each minute has its own summary
    EXPECT_LE(records.size(), static_cast<std::size_t>(summaries + 1) * (kIndividually + 1));
    EXPECT_EQ(countOf("ping"), kPings);
    const std::vector<LogEntry> refusals = security("too-many-requests");
    EXPECT_LE(refusals.size(), 21u * static_cast<std::size_t>(summaries + 1));
    const CommandResult shown = kelpctl({"oplog", "--address", kFlooder});
    EXPECT_EQ(shown.exitCode, 0);
    EXPECT_THAT(shown.output, HasSubstr(" more until "));
    expectSoundLogs();
}

TEST_F(Flood, FollowsTheSettings) {
    host_.set("access", "requests_per_second_before_login", 1)
        .set("access", "requests_burst_before_login", 20);
    reconfigure();
    EXPECT_GT(flood().refused, kCalls / 2);
    host_.set("access", "requests_per_second_before_login", 0);
    reconfigure();
    EXPECT_EQ(flood().refused, 0) << "0: no limit";
}

}  // namespace
}  // namespace kelp::test
