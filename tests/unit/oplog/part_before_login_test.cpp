// The part of the operation log that is reserved for callers without a log-in.

#include "log_fixture.h"

namespace kelp::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class PartBeforeLogIn : public LogTest {
  protected:
    std::filesystem::path part() const { return partBeforeLogIn(database()); }
    LogSettings partSettings() const {
        LogSettings changed = settings();
        changed.database = part();
        return changed;
    }
    static OperationRecord at(const std::string& operation, std::chrono::minutes when,
                              const std::string& outcome = "ok") {
        OperationRecord record = request(operation);
        record.time = UtcTime{1740830400000ms} + when;
        record.outcome = outcome;
        return record;
    }
    void write(const std::vector<OperationRecord>& records, const LogSettings& where) const {
        OperationLog log(where);
        for (const OperationRecord& each : records)
            log.write(each);
    }
    std::vector<std::string> found(const LogQuery& query = {}) const {
        return operationsOf(LogTest::read(database(), LogKind::Operations, query));
    }
};

TEST_F(PartBeforeLogIn, IsNextToTheLog) {
    EXPECT_EQ(part(), folder_ / "oplog-before-login.db");
}

TEST_F(PartBeforeLogIn, IsReadWithTheLogInTheOrderOfTime) {
    write({at("a", 0min), at("c", 2min), at("e", 4min)}, settings());
    write({at("b", 1min), at("d", 3min, "failed"), at("f", 5min)}, partSettings());
    EXPECT_THAT(found(), ElementsAre("a", "b", "c", "d", "e", "f"));
    LogQuery query;
    query.outcome = "failed";
    EXPECT_THAT(found(query), ElementsAre("d"));
    query = {};
    query.since = UtcTime{1740830400000ms} + 2min;
    EXPECT_THAT(found(query), ElementsAre("c", "d", "e", "f"));
}

TEST_F(PartBeforeLogIn, TheNewestAreThoseOfBothTogether) {
    write({at("a", 0min), at("c", 2min), at("e", 4min)}, settings());
    write({at("b", 1min), at("d", 3min)}, partSettings());
    LogQuery query;
    for (std::uint64_t newest = 1; newest <= 7; ++newest) {
        query.newest = newest;
        const std::vector<std::string> all{"a", "b", "c", "d", "e"};
        EXPECT_EQ(found(query),
                  std::vector<std::string>(
                      all.end() - static_cast<long>(std::min<std::size_t>(newest, 5)), all.end()))
            << newest;
    }
}

TEST_F(PartBeforeLogIn, MayBeMissingOrReadByItself) {
    write({at("a", 0min)}, settings());
    EXPECT_THAT(found(), ElementsAre("a"));
    write({at("b", 1min)}, partSettings());
    EXPECT_THAT(operationsOf(LogTest::read(part())), ElementsAre("b"));
}

TEST_F(PartBeforeLogIn, DamageIsReportedAndDoesNotHideTheLog) {
    write({at("a", 0min)}, settings());
    folder_.write("oplog-before-login.db", "no database");
    EXPECT_THAT(found(), ElementsAre("a"));
    EXPECT_THAT(LogReader(database(), LogKind::Operations).problem(),
                HasSubstr("oplog-before-login.db"));
    std::filesystem::remove(part());
    EXPECT_THAT(LogReader(database(), LogKind::Operations).problem(), IsEmpty());
}

TEST_F(PartBeforeLogIn, AFloodInItPushesNothingOutOfTheLog) {
    OperationLog log(settings());
    log.write(at("evidence", 0min));
    LogSettings small = partSettings();
    small.retention.bytes = 256u << 10;
    OperationLog flooded(small);
    for (int i = 0; i < 20000; ++i) {
        OperationRecord record = request("flood " + std::to_string(i));
        record.peer = "192.0.2." + std::to_string(i % 250) + ":" + std::to_string(i);
        flooded.write(record);
    }
    ASSERT_TRUE(flooded.flush(kPatience));
    ASSERT_TRUE(log.flush(kPatience));
    EXPECT_TRUE(waitUntil([&] {
        OtherConnection connection(part());
        return connection.number("PRAGMA page_size") *
                   (connection.number("PRAGMA page_count") -
                    connection.number("PRAGMA freelist_count")) <=
               256 << 10;
    }));
    EXPECT_EQ(found().front(), "evidence");
}

TEST_F(PartBeforeLogIn, ARecordMayStandForSeveralRequests) {
    OperationRecord summary = at("", 0min);
    summary.detail = "12 more until 2025-03-01T12:00:59.000Z";
    write({summary}, partSettings());
    const std::vector<LogEntry> entries = LogTest::read(part());
    ASSERT_THAT(entries, SizeIs(1));
    EXPECT_EQ(entries[0].detail, summary.detail);
    EXPECT_THAT(jsonOf(entries[0]), HasSubstr("12 more until"));
}

}  // namespace
}  // namespace kelp::test
