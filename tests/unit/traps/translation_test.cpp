#include <gmock/gmock.h>

#include "mapping_samples.h"

namespace {

using kelp::alarms::Name;
using kelp::alarms::Severity;
using kelp::test::mappingOf;
using kelp::test::trapWith;
using kelp::traps::Mapping;
using kelp::traps::octetText;
using kelp::traps::Translation;
using kelp::traps::Trap;
using testing::HasSubstr;

const std::string kEms = "Kelp/EMS";
const std::string kPort = "1.3.6.1.4.1.32473.1.1";
const std::string kState = "1.3.6.1.4.1.32473.1.2";

const std::string kMapping = R"(
[elements]
"192.0.2.17" = "NE-17"
[varbind]
port = "1.3.6.1.4.1.32473.1.1"
state = "1.3.6.1.4.1.32473.1.2"
[table.severity]
1 = "PS_CLEARED"
2 = "PS_MINOR"
[alarm.port]
object_name = [["EMS", "{ems}"], ["ManagedElement", "{element}"], ["PTP", "/port={port}"]]
object_type = "OT_PHYSICAL_TERMINATION_POINT"
layer_rate = 20
probable_cause = "LOS"
probable_cause_qualifier = "{port.index}"
native_probable_cause = "lossOfSignal"
event_type = "equipmentAlarm"
service_affecting = "SA_SERVICE_AFFECTING"
additional_text = "{{{port}}} of {address}: {state}"
additional_info = { "State" = "{state}" }
[[trap]]
oid = "1.3.6.1.4.1.32473.0.1"
alarm = "port"
severity = "{state|severity}"
)";

TEST(Translation, FillsTheAlarmsFieldsFromTheTrap) {
    const Translation result = mappingOf(kMapping).translate(
        trapWith({{kPort + ".4.7", "11"}, {kState + ".4.7", "2"}}), kEms);
    EXPECT_EQ(result.whyUnknown, "");
    const auto& alarm = result.alarm;
    EXPECT_EQ(alarm.objectName,
              (Name{{"EMS", "Kelp/EMS"}, {"ManagedElement", "NE-17"}, {"PTP", "/port=11"}}));
    EXPECT_EQ(alarm.objectType, kelp::alarms::ObjectType::PhysicalTerminationPoint);
    EXPECT_EQ(alarm.nativeEMSName, "/port=11");
    EXPECT_EQ(alarm.layerRate, 20);
    EXPECT_EQ(alarm.probableCause, "LOS");
    EXPECT_EQ(alarm.probableCauseQualifier, "4.7");
    EXPECT_EQ(alarm.nativeProbableCause, "lossOfSignal");
    EXPECT_EQ(alarm.perceivedSeverity, Severity::Minor);
    EXPECT_EQ(alarm.serviceAffecting, kelp::alarms::ServiceAffecting::Affecting);
    EXPECT_EQ(alarm.eventType, "equipmentAlarm");
    EXPECT_EQ(alarm.additionalText, "{11} of 192.0.2.17: 2");
    EXPECT_EQ(alarm.additionalInfo, (Name{{"State", "2"}}));
    EXPECT_TRUE(alarm.isClearable);
}

TEST(Translation, GivesAClearTheIdentityOfItsAlarm) {
    const Mapping mapping = mappingOf(kMapping);
    const auto raise = mapping.translate(trapWith({{kPort + ".4", "11"}, {kState, "2"}}), kEms);
    const auto clear = mapping.translate(trapWith({{kPort + ".4", "11"}, {kState, "1"}}), kEms);
    EXPECT_EQ(clear.alarm.perceivedSeverity, Severity::Cleared);
    EXPECT_EQ(clear.alarm.objectName, raise.alarm.objectName);
    EXPECT_EQ(clear.alarm.layerRate, raise.alarm.layerRate);
    EXPECT_EQ(clear.alarm.probableCause, raise.alarm.probableCause);
    EXPECT_EQ(clear.alarm.probableCauseQualifier, raise.alarm.probableCauseQualifier);
}

TEST(Translation, NamesAnElementByItsAddressIfItHasNoName) {
    Trap trap = trapWith({{kPort + ".4", "11"}, {kState, "2"}});
    trap.address = "192.0.2.99";
    EXPECT_EQ(mappingOf(kMapping).translate(trap, kEms).alarm.objectName[1].second, "192.0.2.99");
}

TEST(Translation, MakesAnIndeterminateAlarmOfAnUnknownTrap) {
    Trap trap = trapWith({{kPort + ".4", "line\n1"}});
    trap.oid = kelp::test::oidOf("1.3.6.1.4.1.32473.0.99");
    const Translation result = mappingOf(kMapping).translate(trap, kEms);
    EXPECT_NE(result.whyUnknown, "");
    EXPECT_EQ(result.alarm.objectName, (Name{{"EMS", "Kelp/EMS"}, {"ManagedElement", "NE-17"}}));
    EXPECT_EQ(result.alarm.perceivedSeverity, Severity::Indeterminate);
    EXPECT_EQ(result.alarm.probableCause, "UNIDENTIFIED");
    EXPECT_EQ(result.alarm.probableCauseQualifier, "1.3.6.1.4.1.32473.0.99");
    EXPECT_FALSE(result.alarm.isClearable);
    EXPECT_EQ(result.alarm.additionalText,
              "1.3.6.1.4.1.32473.0.99; 1.3.6.1.4.1.32473.1.1.4=line\\n1");
    EXPECT_EQ(kelp::alarms::whatIsWrong(result.alarm), "");
}

TEST(Translation, TreatsATrapWithoutWhatIdentifiesItsAlarmAsUnknown) {
    const Mapping mapping = mappingOf(kMapping);
    EXPECT_THAT(mapping.translate(trapWith({{kState, "2"}}), kEms).whyUnknown,
                HasSubstr("no value for {port} of its object name"));
    EXPECT_THAT(mapping.translate(trapWith({{kPort, "11"}}), kEms).whyUnknown,
                HasSubstr("no value for {state|severity} of its severity"));
    EXPECT_THAT(mapping.translate(trapWith({{kPort, "1"}, {kState, "77"}}), kEms).whyUnknown,
                HasSubstr("no value for {state|severity}"));
}

TEST(Translation, LimitsTheTextsOfAHugeTrap) {
    const std::string huge(60000, 'x');
    const Translation known =
        mappingOf(kMapping).translate(trapWith({{kPort, "1"}, {kState, "2"}}), kEms);
    EXPECT_EQ(known.whyUnknown, "");
    Trap trap = trapWith({{kPort, huge}, {kState, huge}});
    const Translation result = mappingOf(kMapping).translate(trap, kEms);
    EXPECT_NE(result.whyUnknown, "");
    EXPECT_LE(result.alarm.additionalText.size(), 4096u);
}

TEST(Translation, TakesTheTextsOfControlCharactersFromNobody) {
    const auto alarm = mappingOf(kMapping)
                           .translate(trapWith({{kPort, "a\x1b[2J\nb"}, {kState, "2"}}), kEms)
                           .alarm;
    EXPECT_EQ(alarm.objectName.back().second, "/port=a\\x1B[2J\\nb");
}

TEST(OctetText, ShowsPrintableTextAndOtherOctetsAsHexadecimal) {
    EXPECT_EQ(octetText("eth0"), "eth0");
    EXPECT_EQ(octetText("Gr\xc3\xbc\xc3\x9f"), "Gr\xc3\xbc\xc3\x9f");
    EXPECT_EQ(octetText(std::string("eth0\0\0", 6)), "eth0");
    EXPECT_EQ(octetText(std::string("\x00\x1b\x2c", 3)), "00:1b:2c");
    EXPECT_EQ(octetText(std::string("\0\0", 2)), "");
    EXPECT_EQ(octetText(""), "");
    EXPECT_EQ(octetText("\xff"), "ff");
}

}  // namespace
