#include <nlohmann/json.hpp>

#include "log_fixture.h"

namespace kelp::test {
namespace {

using nlohmann::json;

LogEntry sample() {
    LogEntry entry;
    entry.id = 7;
    entry.time = UtcTime(1740830400005ms);
    entry.user = "nms1";
    entry.operation = "getEMS";
    entry.outcome = "ok";
    entry.duration = 42us;
    return entry;
}

TEST(LogTimes, AreWrittenAndReadWithMilliseconds) {
    EXPECT_EQ(timeText(UtcTime(1740830400005ms)), "2025-03-01T12:00:00.005Z");
    EXPECT_EQ(timeOf("2025-03-01T12:00:00.005Z"), UtcTime(1740830400005ms));
}

TEST(LogTimes, AreReadInShorterForms) {
    const UtcTime noon(1740830400000ms);
    for (const char* const text :
         {"2025-03-01T12:00:00Z", "2025-03-01 12:00:00", "2025-03-01T12:00", "2025-03-01 12:00Z"})
        EXPECT_EQ(timeOf(text), noon) << text;
    EXPECT_EQ(timeOf("2025-03-01"), noon - 12h);
}

TEST(LogTimes, OtherTextIsRefused) {
    for (const char* const text :
         {"", "now", "2025-02-30", "2025-13-01", "2025-03-01T24:00", "2025-03-01T12:60",
          "2025-03-01T12:00:60", "2025-03-01T", "2025-03-01T12", "2025-3-1", "2025-03-01x12:00",
          "2025-03-01T12:00:00+01:00", "20250301T120000.00000000"})
        EXPECT_FALSE(timeOf(text)) << text;
}

TEST(CsvLines, HaveTheColumnsOfTheHeader) {
    EXPECT_EQ(csvHeader(),
              "id,time,user,nmsAddress,peer,operation,objectKind,object,outcome,detail,durationUs,"
              "missing,until");
    EXPECT_EQ(csvOf(sample()), "7,2025-03-01T12:00:00.005Z,nms1,,,getEMS,,,ok,,42,,");
}

TEST(CsvLines, QuoteCommasQuotesAndLineEnds) {
    LogEntry entry = sample();
    entry.user = "a,b";
    entry.object = "say \"hi\"";
    entry.detail = "two\nlines";
    EXPECT_EQ(
        csvOf(entry),
        "7,2025-03-01T12:00:00.005Z,\"a,b\",,,getEMS,,\"say \"\"hi\"\"\",ok,\"two\nlines\",42,,");
}

TEST(CsvLines, ReportAGap) {
    LogEntry gap;
    gap.id = 8;
    gap.time = UtcTime(1740830400000ms);
    gap.until = gap.time + 1s;
    gap.missing = 12;
    EXPECT_EQ(csvOf(gap), "8,2025-03-01T12:00:00.000Z,,,,,,,,,,12,2025-03-01T12:00:01.000Z");
}

TEST(JsonLines, HaveWhatTheRecordHas) {
    EXPECT_EQ(json::parse(jsonOf(sample())),
              json::parse(R"({"id": 7, "time": "2025-03-01T12:00:00.005Z",
        "user": "nms1", "operation": "getEMS", "outcome": "ok", "durationUs": 42})"));
    EXPECT_EQ(jsonOf(sample()).find('\n'), std::string::npos);
}

TEST(JsonLines, TakeAnyBytes) {
    LogEntry entry = sample();
    entry.user = "\xff\"\n";
    EXPECT_EQ(json::parse(jsonOf(entry))["user"], "\xef\xbf\xbd\"\n");
}

}  // namespace
}  // namespace kelp::test
