#include "report.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace kelp::test {
namespace {

using testing::HasSubstr;

std::string whyRefused(const std::string& line) {
    try {
        example::readReport(line, "Acme/1");
    } catch (const std::exception& wrong) {
        return wrong.what();
    }
    return "it is not refused";
}

std::string lineWith(const std::string& members) {
    return R"({"objectName":{"ManagedElement":"NE-1"},"probableCause":"LOS",)"
           R"("perceivedSeverity":"PS_MAJOR")" +
           members + "}";
}

TEST(ReadReport, AddsTheNameOfTheEms) {
    const alarms::Alarm alarm = example::readReport(lineWith(""), "Acme/1");
    EXPECT_EQ(alarm.objectName, (alarms::Name{{"EMS", "Acme/1"}, {"ManagedElement", "NE-1"}}));
    EXPECT_EQ(alarm.objectType, alarms::ObjectType::ManagedElement);
    EXPECT_EQ(alarm.perceivedSeverity, alarms::Severity::Major);
    EXPECT_EQ(
        example::readReport(
            R"({"objectName":{"EMS":"Other/1"},"probableCause":"LOS","perceivedSeverity":"PS_CLEARED"})",
            "Acme/1")
            .objectName,
        (alarms::Name{{"EMS", "Other/1"}}));
}

TEST(ReadReport, AcceptsTimesInTheLayoutOfTheStandardOnly) {
    EXPECT_EQ(example::readReport(lineWith(R"(,"neTime":"20240105030405.0Z")"), "Acme/1").neTime,
              "20240105030405.0Z");
    EXPECT_THAT(whyRefused(lineWith(R"(,"neTime":"yesterday")")), HasSubstr("neTime"));
}

TEST(ReadReport, SaysWhatIsWrongWithALine) {
    EXPECT_THAT(whyRefused("LOS at NE-1"), HasSubstr("not a JSON object"));
    EXPECT_THAT(whyRefused("[1]"), HasSubstr("not a JSON object"));
    EXPECT_THAT(whyRefused("{}"), HasSubstr("objectName is missing"));
    EXPECT_THAT(whyRefused(lineWith(R"(,"colour":"red")")), HasSubstr("colour"));
    EXPECT_THAT(whyRefused(lineWith(R"(,"probableCause":"LOF")")), HasSubstr("twice"));
    const std::string deep = std::string(20'000, '[') + std::string(20'000, ']');
    EXPECT_THAT(whyRefused(lineWith(",\"additionalInfo\":" + deep)), HasSubstr("levels"));
    EXPECT_THAT(whyRefused(deep), HasSubstr("levels"));
}

}  // namespace
}  // namespace kelp::test
