#include <future>

#include "log_fixture.h"

namespace kelp::test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class Search : public LogTest {
  protected:
    struct Given {
        const char* operation;
        std::chrono::minutes at;
        const char* user;
        const char* nms;
        const char* peer;
        const char* outcome;
    };
    static constexpr UtcTime kStart{1740830400000ms};

    void SetUp() override {
        static constexpr Given kRecords[] = {
            {"a", 0min, "nms1", "10.0.0.1:700", "10.0.0.1:800", "ok"},
            {"b", 1min, "nms2", "10.0.0.2:700", "10.0.0.10:800", "EXCPT_ENTITY_NOT_FOUND"},
            {"c", 2min, "nms1", "[::1]:700", "[::1]:800", ""},
            {"d", 3min, "with\nline", "10.0.0.1:7000", "10.0.0.3:1", "ok"},
        };
        OperationLog log(settings());
        for (const Given& given : kRecords) {
            OperationRecord record;
            record.operation = given.operation;
            record.time = kStart + given.at;
            record.user = given.user;
            record.nmsAddress = given.nms;
            record.peer = given.peer;
            record.outcome = given.outcome;
            log.write(record);
        }
    }
    std::vector<std::string> found(const LogQuery& query) const {
        return operationsOf(read(database(), LogKind::Operations, query));
    }
    template <class Value>
    std::vector<std::string> foundBy(Value LogQuery::*field,
                                     const std::type_identity_t<Value>& value) const {
        LogQuery query;
        query.*field = value;
        return found(query);
    }
};

using NewLog = LogTest;

TEST_F(NewLog, MayBeReadWhileItIsBeingCreated) {
    folder_.write("oplog.db", "");
    std::promise<void> begun;
    std::future<std::vector<LogEntry>> reader = std::async(std::launch::async, [&] {
        begun.set_value();
        return read();
    });
    begun.get_future().wait();
    OperationLog log(settings());
    EXPECT_THAT(reader.get(), testing::IsEmpty());
}

TEST_F(NewLog, IsNoFileThatStaysEmpty) {
    folder_.write("oplog.db", "");
    EXPECT_THAT([&] { read(); }, testing::ThrowsMessage<std::runtime_error>(
                                     testing::HasSubstr("is not an operation log")));
}

TEST_F(Search, WithoutConditionsGivesAll) {
    EXPECT_THAT(found({}), ElementsAre("a", "b", "c", "d"));
}

TEST_F(Search, ByTimeTakesTheBeginningAndNotTheEnd) {
    EXPECT_THAT(foundBy(&LogQuery::since, kStart + 1min), ElementsAre("b", "c", "d"));
    EXPECT_THAT(foundBy(&LogQuery::until, kStart + 1min), ElementsAre("a"));
    LogQuery query;
    query.since = kStart + 1min;
    query.until = kStart + 3min;
    EXPECT_THAT(found(query), ElementsAre("b", "c"));
    EXPECT_THAT(foundBy(&LogQuery::since, kStart + 1h), SizeIs(0));
}

TEST_F(Search, ByUserFindsTheNameAsThePeerWroteIt) {
    EXPECT_THAT(foundBy(&LogQuery::user, "nms1"), ElementsAre("a", "c"));
    EXPECT_THAT(foundBy(&LogQuery::user, "with\nline"), ElementsAre("d"));
    EXPECT_THAT(foundBy(&LogQuery::user, "nms"), SizeIs(0));
}

TEST_F(Search, ByAddressFindsItOnBothSidesWithAnyPortOrTheOneGiven) {
    EXPECT_THAT(foundBy(&LogQuery::address, "10.0.0.1"), ElementsAre("a", "d"));
    EXPECT_THAT(foundBy(&LogQuery::address, "10.0.0.10"), ElementsAre("b"));
    EXPECT_THAT(foundBy(&LogQuery::address, "10.0.0.1:700"), ElementsAre("a"));
    EXPECT_THAT(foundBy(&LogQuery::address, "::1"), ElementsAre("c"));
    EXPECT_THAT(foundBy(&LogQuery::address, "[::1]:800"), ElementsAre("c"));
}

TEST_F(Search, ByOperationAndOutcome) {
    EXPECT_THAT(foundBy(&LogQuery::operation, "b"), ElementsAre("b"));
    EXPECT_THAT(foundBy(&LogQuery::outcome, "ok"), ElementsAre("a", "d"));
    EXPECT_THAT(foundBy(&LogQuery::outcome, "EXCPT_ENTITY_NOT_FOUND"), ElementsAre("b"));
    EXPECT_THAT(foundBy(&LogQuery::outcome, "failed"), ElementsAre("b"));
}

TEST_F(Search, ConditionsHoldTogether) {
    LogQuery query;
    query.user = "nms1";
    query.outcome = "ok";
    EXPECT_THAT(found(query), ElementsAre("a"));
}

TEST_F(Search, TheNewestComeInTheLogsOrder) {
    EXPECT_THAT(foundBy(&LogQuery::newest, 2u), ElementsAre("c", "d"));
    EXPECT_THAT(foundBy(&LogQuery::newest, 10u), SizeIs(4));
    LogQuery query;
    query.newest = 1;
    query.user = "nms1";
    EXPECT_THAT(found(query), ElementsAre("c"));
}

TEST_F(Search, TextOfAQueryIsNoPartOfTheStatement) {
    EXPECT_THAT(foundBy(&LogQuery::user, "' OR 1=1 --"), SizeIs(0));
    EXPECT_THAT(foundBy(&LogQuery::address, "%"), SizeIs(0));
}

TEST_F(Search, AGapMatchesEveryConditionWithinItsTime) {
    LogSettings elsewhere = settings();
    elsewhere.database = folder_ / "elsewhere.db";
    OperationRecord gap;
    gap.time = kStart + 10min;
    gap.outcome = "missing";
    OperationLog(elsewhere).write(gap);
    OtherConnection log(database());
    log.exec("ATTACH '" + elsewhere.database.string() + "' AS elsewhere");
    log.exec("INSERT INTO block SELECT 5, 1, 7, from_ms, " +
             std::to_string((kStart + 20min).time_since_epoch().count()) +
             ", data FROM elsewhere.block");
    EXPECT_THAT(foundBy(&LogQuery::user, "nms1"), ElementsAre("a", "c", "gap 7"));
    EXPECT_THAT(foundBy(&LogQuery::outcome, "failed"), ElementsAre("b", "gap 7"));
    EXPECT_THAT(foundBy(&LogQuery::since, kStart + 15min), ElementsAre("gap 7"));
    EXPECT_THAT(foundBy(&LogQuery::since, kStart + 21min), SizeIs(0));
    EXPECT_THAT(foundBy(&LogQuery::until, kStart + 5min), ElementsAre("a", "b", "c", "d"));
}

TEST_F(Search, GoesOverManyPages) {
    {
        OperationLog log(settings());
        for (int i = 0; i < 3500; ++i)
            log.write(request("many"));
    }
    EXPECT_THAT(foundBy(&LogQuery::operation, "many"), SizeIs(3500));
    EXPECT_THAT(foundBy(&LogQuery::newest, 1500u), SizeIs(1500));
}

TEST_F(Search, EndsWhenTheTakerHasEnough) {
    int taken = 0;
    LogReader reader(database(), LogKind::Operations);
    EXPECT_EQ(reader.search({}, [&taken](const LogEntry&) { return ++taken < 2; }), 2u);
    EXPECT_EQ(taken, 2);
}

TEST_F(Search, ContinuesWithRecordsThatAreNewSinceTheLastSearch) {
    LogReader reader(database(), LogKind::Operations);
    std::vector<LogEntry> entries;
    const auto search = [&](const LogQuery& query) {
        entries.clear();
        reader.search(query, [&](const LogEntry& entry) {
            entries.push_back(entry);
            return true;
        });
        return operationsOf(entries);
    };
    LogQuery onlyNew;
    onlyNew.onlyNew = true;
    EXPECT_THAT(search(onlyNew), SizeIs(4));
    EXPECT_THAT(search(onlyNew), SizeIs(0));
    OperationLog(settings()).write(request("later"));
    EXPECT_THAT(search(onlyNew), ElementsAre("later"));
    OperationLog(settings()).write(request("of another"));
    onlyNew.user = "nobody";
    EXPECT_THAT(search(onlyNew), SizeIs(0));
    onlyNew.user.clear();
    EXPECT_THAT(search(onlyNew), SizeIs(0));
    EXPECT_THAT(search({}), SizeIs(6));
}

}  // namespace
}  // namespace kelp::test
