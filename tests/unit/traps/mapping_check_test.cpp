#include <gmock/gmock.h>

#include "mapping_samples.h"

namespace {

using kelp::test::problemsOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

const std::string kAlarm =
    "[alarm.a]\n"
    "object_name = [[\"EMS\", \"{ems}\"]]\n"
    "probable_cause = \"LOS\"\n";
const std::string kTrap = "[[trap]]\noid = \"1.3.6.1.4.1.32473.0.1\"\nalarm = \"a\"\n";

TEST(MappingCheck, FindsNothingWrongWithARule) {
    EXPECT_THAT(problemsOf(kAlarm + kTrap + "severity = \"PS_MAJOR\"\n"), IsEmpty());
    EXPECT_THAT(problemsOf(""), IsEmpty());
}

TEST(MappingCheck, NamesTheLineOfASyntaxError) {
    EXPECT_THAT(problemsOf("[alarm.a]\nprobable_cause = \n"),
                ElementsAre(StartsWith("test.toml:2: is not valid TOML: ")));
}

TEST(MappingCheck, NamesUnknownKeys) {
    EXPECT_THAT(problemsOf("[alarms.a]\n"),
                ElementsAre("test.toml:1: alarms: is not a key of this table"));
    EXPECT_THAT(problemsOf(kAlarm + "colour = \"red\"\n" + kTrap + "severity = \"PS_MAJOR\"\n"),
                ElementsAre("test.toml:4: alarm.a.colour: is not a key of this table"));
}

TEST(MappingCheck, NamesWhatIsMissing) {
    EXPECT_THAT(problemsOf("[alarm.a]\nobject_name = [[\"EMS\", \"x\"]]\n"),
                ElementsAre("test.toml:1: alarm.a.probable_cause: is missing"));
    EXPECT_THAT(problemsOf("[alarm.a]\nprobable_cause = \"LOS\"\n"),
                ElementsAre(HasSubstr("test.toml:1: alarm.a.object_name: must be a list of 1 to")));
    EXPECT_THAT(problemsOf("[[trap]]\n"), ElementsAre("test.toml:1: trap.alarm: is missing",
                                                      "test.toml:1: trap.severity: is missing",
                                                      "test.toml:1: trap.oid: is missing"));
}

TEST(MappingCheck, NamesValuesOfTheWrongType) {
    EXPECT_THAT(problemsOf(kAlarm + "layer_rate = \"high\"\n"),
                ElementsAre("test.toml:4: alarm.a.layer_rate: must be an integer from 0 to 32767"));
    EXPECT_THAT(problemsOf(kAlarm + "clearable = 1\n"),
                ElementsAre("test.toml:4: alarm.a.clearable: must be true or false"));
    EXPECT_THAT(problemsOf("alarm = 1\n"), ElementsAre("test.toml:1: alarm: must be a table"));
    EXPECT_THAT(problemsOf("trap = [1]\n"),
                ElementsAre("test.toml:1: trap: must be a list of tables: write [[trap]]"));
    EXPECT_THAT(problemsOf(kAlarm + "object_type = \"OT_PORT\"\n"),
                ElementsAre(AllOf(HasSubstr("test.toml:4: alarm.a.object_type: must be one of "
                                            "OT_EMS, "),
                                  HasSubstr("but is \"OT_PORT\""))));
}

TEST(MappingCheck, NamesPlaceholdersOfNothing) {
    EXPECT_THAT(problemsOf(kAlarm + "additional_text = \"{ifIndex}\"\n"),
                ElementsAre(StartsWith("test.toml:4: alarm.a.additional_text: refers to "
                                       "\"ifIndex\", which is neither in [varbind] nor")));
    EXPECT_THAT(problemsOf(kAlarm + "additional_text = \"{ems|t}\"\n"),
                ElementsAre("test.toml:4: alarm.a.additional_text: refers to the table \"t\", "
                            "which is not in this file"));
    EXPECT_THAT(problemsOf(kAlarm + "additional_text = \"{ems\"\n"),
                ElementsAre(HasSubstr("has a { without }")));
    EXPECT_THAT(problemsOf(kAlarm + "additional_text = \"ems}\"\n"),
                ElementsAre(HasSubstr("has a } without {")));
}

TEST(MappingCheck, NamesOidsThatAreNone) {
    EXPECT_THAT(problemsOf("[varbind]\nifIndex = \"IF-MIB::ifIndex\"\n"),
                ElementsAre(StartsWith("test.toml:2: varbind.ifIndex: must be an OID in numbers")));
}

TEST(MappingCheck, RequiresASeverityThatCanBeChecked) {
    EXPECT_THAT(problemsOf(kAlarm + kTrap + "severity = \"MAJOR\"\n"),
                ElementsAre(StartsWith("test.toml:7: trap.severity: gives \"MAJOR\", which is not "
                                       "a severity")));
    EXPECT_THAT(problemsOf(kAlarm + kTrap + "severity = \"{ems}\"\n"),
                ElementsAre(HasSubstr("must be a severity such as PS_MAJOR, or one placeholder")));
    EXPECT_THAT(problemsOf("[table.t]\n1 = \"PS_MAYOR\"\n[varbind]\nv = \"1.3.6\"\n" + kAlarm +
                           kTrap + "severity = \"{v|t}\"\n"),
                ElementsAre(HasSubstr("test.toml:11: trap.severity: gives \"PS_MAYOR\"")));
}

TEST(MappingCheck, RefusesToClearWhatCannotBeCleared) {
    EXPECT_THAT(problemsOf(kAlarm + "clearable = false\n" + kTrap + "severity = \"PS_CLEARED\"\n"),
                ElementsAre("test.toml:8: trap.severity: is PS_CLEARED, but [alarm.a] has "
                            "clearable = false"));
}

TEST(MappingCheck, FindsASecondRuleForATrap) {
    EXPECT_THAT(problemsOf(kAlarm + kTrap + "severity = \"PS_MAJOR\"\n" + kTrap +
                           "severity = \"PS_MINOR\"\n"),
                ElementsAre("test.toml:9: trap.oid: this trap has a rule already, at test.toml:4"));
}

TEST(MappingCheck, FindsAnAlarmThatIsNotThere) {
    EXPECT_THAT(problemsOf(kTrap + "severity = \"PS_MAJOR\"\n"),
                ElementsAre("test.toml:3: trap.alarm: there is no table [alarm.a] in this file"));
}

TEST(MappingCheck, FindsAddressesThatAreNone) {
    EXPECT_THAT(problemsOf("[elements]\n\"ne17.example\" = \"NE-17\"\n"),
                ElementsAre("test.toml:2: elements.ne17.example: is not an IPv4 or IPv6 address"));
    EXPECT_THAT(problemsOf("[elements]\n\"::1\" = \"a\"\n\"0:0::1\" = \"b\"\n"),
                ElementsAre(HasSubstr("has a name already")));
}

}  // namespace
