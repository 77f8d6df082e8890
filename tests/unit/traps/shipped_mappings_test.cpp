#include <gmock/gmock.h>
#include <kelp/traps/mapping.h>

#include "mapping_samples.h"

namespace {

using kelp::alarms::Severity;
using kelp::test::oidOf;
using kelp::traps::Mapping;
using kelp::traps::MappingProblem;
using kelp::traps::Translation;
using kelp::traps::Trap;
using testing::SizeIs;

class ShippedMappings : public testing::Test {
  protected:
    ShippedMappings() {
        const std::filesystem::path folder = SHIPPED_MAPPINGS;
        std::vector<MappingProblem> problems;
        mapping_ =
            Mapping::read({folder / "standard.toml", folder / "example-enterprise.toml"}, problems);
        for (const MappingProblem& each : problems)
            ADD_FAILURE() << each.text();
    }

    Translation translate(const std::string& oid,
                          const std::vector<std::pair<std::string, std::string>>& varBinds) {
        Trap trap = kelp::test::trapWith(varBinds);
        trap.oid = oidOf(oid);
        return mapping_.translate(trap, "Kelp/EMS");
    }

    Mapping mapping_;
};

TEST_F(ShippedMappings, DescribeTheirRules) {
    EXPECT_THAT(mapping_.summary(), SizeIs(6));
}

TEST_F(ShippedMappings, ClearALinkDownWithTheLinkUpOfThePort) {
    const std::vector<std::pair<std::string, std::string>> port = {{"1.3.6.1.2.1.2.2.1.1.4", "4"},
                                                                   {"1.3.6.1.2.1.2.2.1.7.4", "1"},
                                                                   {"1.3.6.1.2.1.2.2.1.8.4", "2"}};
    const Translation down = translate("1.3.6.1.6.3.1.1.5.3", port);
    const Translation up = translate("1.3.6.1.6.3.1.1.5.4", port);
    EXPECT_EQ(down.whyUnknown + up.whyUnknown, "");
    EXPECT_EQ(down.alarm.perceivedSeverity, Severity::Major);
    EXPECT_EQ(up.alarm.perceivedSeverity, Severity::Cleared);
    EXPECT_EQ(down.alarm.objectName, up.alarm.objectName);
    EXPECT_EQ(down.alarm.objectName.back().second, "/port=4");
    EXPECT_EQ(down.alarm.additionalText,
              "Port 4  : operational state down, administrative state up");
}

TEST_F(ShippedMappings, ReportRestartsAsEvents) {
    for (const char* const oid : {"1.3.6.1.6.3.1.1.5.1", "1.3.6.1.6.3.1.1.5.2"}) {
        const Translation start = translate(oid, {});
        EXPECT_EQ(start.whyUnknown, "");
        EXPECT_FALSE(start.alarm.isClearable);
        EXPECT_EQ(start.alarm.perceivedSeverity, Severity::Warning);
    }
}

TEST_F(ShippedMappings, TakeTheSeverityOfAnEnterpriseTrapFromAVariableBinding) {
    const std::string row = "1.3.6.1.4.1.32473.1.2.1.";
    const Translation raised =
        translate("1.3.6.1.4.1.32473.1.0.1", {{row + "1.5", "/rack=1/slot=2"},
                                              {row + "2.5", "101"},
                                              {row + "3.5", "5"},
                                              {row + "4.5", "no light"}});
    EXPECT_EQ(raised.whyUnknown, "");
    EXPECT_EQ(raised.alarm.perceivedSeverity, Severity::Critical);
    EXPECT_EQ(raised.alarm.probableCause, "LOS");
    EXPECT_EQ(raised.alarm.objectName[1].second, "NE-17");
    EXPECT_EQ(raised.alarm.additionalText, "no light");
    const Translation fan =
        translate("1.3.6.1.4.1.32473.1.0.2", {{"1.3.6.1.4.1.32473.1.3.1.2.9", "1"}});
    EXPECT_EQ(fan.alarm.perceivedSeverity, Severity::Cleared);
    EXPECT_EQ(fan.alarm.objectName.back().second, "/fan=9");
}

}  // namespace
