// Several records in one row, and how they are read again.

#include <limits>
#include <stdexcept>

#include "log_fixture.h"

namespace kelp::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::Field;
using testing::HasSubstr;
using testing::SizeIs;

class Block : public LogTest {
  protected:
    /// Write the records. Return them as they are read again.
    std::vector<LogEntry> kept(const std::vector<OperationRecord>& records) {
        OperationLog log(settings());
        for (const OperationRecord& each : records)
            log.write(each);
        log.stop();
        return read();
    }
    static OperationRecord at(UtcTime time) {
        OperationRecord record = request("getEMS");
        record.time = time;
        return record;
    }
};

TEST_F(Block, TimesMayGoBackwardsAndLieBefore1970) {
    const UtcTime time(1740830400123ms);
    const std::vector<LogEntry> entries =
        kept({at(time), at(time - 1h), at(UtcTime(-5ms)), at(time)});
    ASSERT_THAT(entries, SizeIs(4));
    EXPECT_EQ(entries[0].time, time);
    EXPECT_EQ(entries[1].time, time - 1h);
    EXPECT_EQ(entries[2].time, UtcTime(-5ms));
    EXPECT_EQ(entries[3].time, time);
}

TEST_F(Block, DurationsOfEveryLengthComeBack) {
    std::vector<OperationRecord> records(3, request("getEMS"));
    records[0].duration = 0us;
    records[1].duration = 127us;
    records[2].duration = std::chrono::microseconds(std::numeric_limits<std::int64_t>::max() - 1);
    const std::vector<LogEntry> entries = kept(records);
    ASSERT_THAT(entries, SizeIs(3));
    for (std::size_t i = 0; i < entries.size(); ++i)
        EXPECT_EQ(entries[i].duration, records[i].duration);
}

TEST_F(Block, ATextIsCutWhereItIsTooLongAndNowhereElse) {
    OperationRecord record = request("getEMS");
    record.user = record.peer = std::string(200, 'a');
    const std::vector<LogEntry> entries = kept({record, record});
    ASSERT_THAT(entries, SizeIs(2));
    EXPECT_THAT(entries, Each(Field(&LogEntry::user, std::string(200, 'a'))));
    EXPECT_THAT(entries,
                Each(Field(&LogEntry::peer, AllOf(SizeIs(testing::Le(128u)), EndsWith("...")))));
}

TEST_F(Block, ATextThatIsEscapedStaysTheSameInEveryRecord) {
    OperationRecord record = request("get\nEMS");
    record.user = "get\\nEMS";
    const std::vector<LogEntry> entries = kept({record, record, request("other")});
    ASSERT_THAT(entries, SizeIs(3));
    EXPECT_EQ(entries[0].operation, "get\\nEMS");
    EXPECT_EQ(entries[1].operation, "get\\nEMS");
    EXPECT_EQ(entries[1].user, "get\\nEMS");
    EXPECT_EQ(entries[2].operation, "other");
}

TEST_F(Block, NumbersGoOnFromBlockToBlock) {
    constexpr std::size_t kRecords = 2000;
    const std::vector<LogEntry> entries =
        kept(std::vector<OperationRecord>(kRecords, request("getEMS")));
    ASSERT_THAT(entries, SizeIs(kRecords));
    for (std::size_t i = 0; i < kRecords; ++i)
        ASSERT_EQ(entries[i].id, static_cast<std::int64_t>(i + 1));
    EXPECT_GT(OtherConnection(database()).number("SELECT count(*) FROM block"), 1);
}

TEST_F(Block, TheNewestAreFoundAcrossBlocks) {
    std::vector<OperationRecord> records(2000, request("ping"));
    records[3].operation = records[700].operation = records[1999].operation = "getEMS";
    kept(records);
    LogQuery query;
    query.operation = "getEMS";
    query.newest = 2;
    EXPECT_THAT(read(database(), LogKind::Operations, query),
                ElementsAre(Field(&LogEntry::id, 701), Field(&LogEntry::id, 2000)));
}

class DamagedBlock : public Block, public testing::WithParamInterface<const char*> {};

TEST_P(DamagedBlock, IsReportedWithTheFileName) {
    kept({request("getEMS"), request("ping")});
    OtherConnection(database()).exec(std::string("UPDATE block SET ") + GetParam());
    try {
        read();
        FAIL() << "read all the same";
    } catch (const std::runtime_error& failure) {
        EXPECT_THAT(failure.what(), AllOf(HasSubstr(database().string()), HasSubstr("damaged")));
    }
}

INSTANTIATE_TEST_SUITE_P(Each, DamagedBlock,
                         testing::Values("data = x''", "data = substr(data, 1, length(data) - 1)",
                                         "data = CAST(data || x'00' AS BLOB)", "records = 3",
                                         "data = x'FFFFFFFFFFFFFFFFFFFFFF'", "data = x'000009'"),
                         [](const auto& each) { return "Way" + std::to_string(each.index); });

}  // namespace
}  // namespace kelp::test
