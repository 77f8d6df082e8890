#include <gmock/gmock.h>

#include "kelpctl_fixture.h"

namespace {

using kelp::test::ToolRun;
using testing::HasSubstr;

class KelpctlSnmp : public kelp::test::KelpctlTest {
  protected:
    const std::string standard_ = SHIPPED_MAPPINGS "/standard.toml";
    const std::string example_ = SHIPPED_MAPPINGS "/example-enterprise.toml";
};

TEST_F(KelpctlSnmp, ShowsTheRulesOfMappingFiles) {
    const ToolRun run = kelpctl("snmp check-mapping " + standard_ + " " + example_);
    EXPECT_EQ(run.status, 0) << run;
    EXPECT_THAT(run.output,
                HasSubstr("1.3.6.1.6.3.1.1.5.4: PS_CLEARED LINK_DOWN of EMS={ems}, "
                          "ManagedElement={element}, PTP=/port={ifIndex} [alarm.link]\n"));
    EXPECT_THAT(run.output, HasSubstr("1.3.6.1.4.1.32473.1.0.1: {alarmState|severity} "));
}

TEST_F(KelpctlSnmp, ShowsTheAlarmOfATrap) {
    const ToolRun run = kelpctl("snmp check-mapping " + standard_ +
                                " --from 192.0.2.17 --trap OID=1.3.6.1.6.3.1.1.5.3 "
                                "1.3.6.1.2.1.2.2.1.1.4=4");
    EXPECT_EQ(run.status, 0) << run;
    EXPECT_THAT(run.output, HasSubstr("objectName               EMS=Kelp/EMS, "
                                      "ManagedElement=192.0.2.17, PTP=/port=4\n"));
    EXPECT_THAT(run.output, HasSubstr("perceivedSeverity        PS_MAJOR\n"));
}

TEST_F(KelpctlSnmp, SaysWhyATrapIsUnknown) {
    const ToolRun run =
        kelpctl("snmp check-mapping " + standard_ + " --trap OID=1.3.6.1.6.3.1.1.5.3");
    EXPECT_EQ(run.status, 0) << run;
    EXPECT_THAT(run.output, HasSubstr("unknown trap             the trap has no value for "
                                      "{ifIndex} of its object name\n"));
}

TEST_F(KelpctlSnmp, NamesEveryProblemWithFileLineAndKey) {
    folder.write("bad.toml", "[alarm.a]\ncolour = 1\n");
    const ToolRun run = kelpctl("snmp check-mapping bad.toml");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, HasSubstr("bad.toml:2: alarm.a.colour: is not a key of this table\n"));
    EXPECT_THAT(run.errors, HasSubstr("kelpctl: 3 problems\n"));
}

TEST_F(KelpctlSnmp, RefusesATrapThatIsNone) {
    EXPECT_TRUE(kelpctl("snmp check-mapping " + standard_ + " --trap 1.3.6.1=1")
                    .failedWith(1, "--trap needs the trap's own OID"));
    EXPECT_TRUE(kelpctl("snmp check-mapping " + standard_ + " --trap OID=linkDown")
                    .failedWith(1, "is not an OID in numbers"));
    EXPECT_TRUE(kelpctl("snmp check-mapping nowhere.toml").status == 1);
}

}  // namespace
