#include "log_fixture.h"

namespace kelp::test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class Retention : public LogTest {
  protected:
    static OperationRecord aged(const std::string& operation, std::chrono::hours age) {
        OperationRecord record = request(operation);
        record.time = now() - age;
        return record;
    }
    /// Write each record in a separate transaction.
    static void writeApart(OperationLog& log, const std::vector<OperationRecord>& records) {
        for (const OperationRecord& each : records) {
            log.write(each);
            ASSERT_TRUE(log.flush(kPatience));
        }
    }
    static constexpr std::chrono::hours kDay{24};
};

TEST_F(Retention, OldRecordsAreRemovedAtTheStart) {
    {
        OperationLog log(settings());
        writeApart(log, {aged("ancient", 11 * kDay), aged("old", 9 * kDay), aged("young", kDay)});
    }
    LogSettings ten = settings();
    ten.retention.age = std::chrono::days(10);
    OperationLog log(ten);
    log.write(request("new"));
    EXPECT_TRUE(waitUntil([&] {
        return operationsOf(read()) == std::vector<std::string>{"old", "young", "new"};
    }));
}

TEST_F(Retention, NewLimitsApplyAtOnce) {
    OperationLog log(settings());
    writeApart(log, {aged("old", 9 * kDay), request("new")});
    log.setRetention({std::chrono::days(5), 1u << 30});
    EXPECT_TRUE(waitUntil([&] { return operationsOf(read()) == std::vector<std::string>{"new"}; }));
}

TEST_F(Retention, RecordsThatWereWrittenTogetherAreRemovedTogether) {
    OperationLog log(settings());
    log.write(aged("old", 9 * kDay));
    log.write(aged("young", 4 * kDay));
    ASSERT_TRUE(log.flush(kPatience));
    ASSERT_EQ(OtherConnection(database()).number("SELECT count(*) FROM block"), 1);
    log.setRetention({std::chrono::days(5), 1u << 30});
    writeApart(log, {request("new")});
    EXPECT_THAT(operationsOf(read()), ElementsAre("old", "young", "new"));
    log.setRetention({std::chrono::days(3), 1u << 30});
    EXPECT_TRUE(waitUntil([&] { return operationsOf(read()) == std::vector<std::string>{"new"}; }));
}

TEST_F(Retention, TheSizeLimitRemovesTheOldestAndShrinksTheFile) {
    constexpr std::uint64_t kLimit = 1u << 20;
    OperationLog log(settings());
    OperationRecord record = request("filler");
    record.object = std::string(400, 'o');
    for (int i = 0; i < 10000; ++i)
        log.write(record);
    log.write(request("last"));
    ASSERT_TRUE(log.flush(kPatience));
    log.setRetention({std::chrono::days(5), kLimit});
    OtherConnection other(database());
    const auto bytes = [&other] {
        return static_cast<std::uint64_t>(other.number("PRAGMA page_count") *
                                          other.number("PRAGMA page_size"));
    };
    EXPECT_TRUE(waitUntil([&] { return bytes() <= kLimit; }, kPatience));
    EXPECT_GT(other.number("SELECT sum(records) FROM block"), 1000);
    EXPECT_EQ(read().back().id, 10001);
}

TEST_F(Retention, NumbersContinueWhenAllRecordsAreGone) {
    OperationLog log(settings());
    log.write(aged("old", 9 * kDay));
    ASSERT_TRUE(log.flush(kPatience));
    log.setRetention({std::chrono::days(5), 1u << 30});
    ASSERT_TRUE(waitUntil([&] { return read().empty(); }));
    log.write(request("new"));
    ASSERT_TRUE(log.flush(kPatience));
    EXPECT_EQ(read().at(0).id, 2);
}

TEST_F(Retention, TheChainOfTheSecurityLogHoldsAndRecordsWhereItBegins) {
    SecurityLog log(settings());
    for (int i = 0; i < 5; ++i) {
        SecurityRecord old = login("old");
        old.time = now() - 9 * kDay;
        log.write(old);
    }
    log.write(login("new"));
    ASSERT_TRUE(log.flush(kPatience));
    const ChainHead before = verify(database()).head;
    log.setRetention({std::chrono::days(5), 1u << 30});
    ASSERT_TRUE(waitUntil([&] { return read(database(), LogKind::Security).size() == 2; }));
    const Verification verification = verify(database(), {before});
    EXPECT_THAT(verification.problems, SizeIs(0));
    EXPECT_EQ(verification.firstId, 6);
    EXPECT_THAT(operationsOf(read(database(), LogKind::Security)),
                ElementsAre("login", "retention"));

    OtherConnection(database()).exec("DELETE FROM record WHERE id = 6");
    EXPECT_THAT(verify(database()).problems,
                ElementsAre(testing::HasSubstr("record 6 is missing")));
}

}  // namespace
}  // namespace kelp::test
