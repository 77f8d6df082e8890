#include "alarms/alarm_json.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <map>
#include <set>

#include "alarm_texts.h"
#include "support/temporary_directory.h"
#include "unit/corbabase/config_text.h"

namespace kelp::ems {
namespace {

using admin::Json;
using kelp::test::refusal;
using kelp::test::smallestAlarm;
using kelp::test::wholeAlarm;
using testing::HasSubstr;
using testing::StartsWith;

std::string refusalOf(const Json& request) {
    return refusal([&] { readAlarms(request); });
}

/// Return the smallest alarm with one more field.
Json with(const std::string& key, const Json& value) {
    Json alarm = smallestAlarm();
    alarm[key] = value;
    return alarm;
}

TEST(AlarmJson, OfTheSmallestAlarmIsCompletedWithDerivedValues) {
    const std::vector<alarms::Alarm> read = readAlarms(smallestAlarm());
    ASSERT_EQ(read.size(), 1u);
    const alarms::Alarm& alarm = read.front();
    ASSERT_EQ(alarm.objectName.size(), 3u);
    EXPECT_EQ(alarm.objectName[1].first, "ManagedElement");
    EXPECT_EQ(alarm.objectName[2].second, "/shelf=1/port=2");
    EXPECT_EQ(alarm.nativeEMSName, "/shelf=1/port=2");
    EXPECT_EQ(alarm.nativeProbableCause, "LOS");
    EXPECT_EQ(alarm.objectType, alarms::ObjectType::PhysicalTerminationPoint);
    EXPECT_EQ(alarm.neTime, "");
    EXPECT_TRUE(alarm.isClearable);
    EXPECT_EQ(alarm.layerRate, 1);
    EXPECT_EQ(alarm.perceivedSeverity, alarms::Severity::Major);
    EXPECT_EQ(alarm.serviceAffecting, alarms::ServiceAffecting::Unknown);
    EXPECT_EQ(alarm.eventType, "communicationsAlarm");
    EXPECT_FALSE(alarm.correlatedNotifications || alarm.monitoredAttributes || alarm.rcaiIndicator);
    EXPECT_EQ(alarm.acknowledgeIndication, alarms::Acknowledgement::NotAvailable);
}

TEST(AlarmJson, NeedsObjectCauseAndSeverity) {
    for (const std::string key : {"objectName", "probableCause", "perceivedSeverity"}) {
        Json alarm = smallestAlarm();
        alarm.erase(key);
        EXPECT_EQ(refusalOf(alarm), key + " is missing");
    }
    EXPECT_EQ(refusalOf(with("objectName", Json::object())), "objectName must have a component");
}

TEST(AlarmJson, DerivesTheObjectTypeFromTheLastNameComponent) {
    const std::map<std::string, alarms::ObjectType> types = {
        {"EMS", alarms::ObjectType::Ems},
        {"ManagedElement", alarms::ObjectType::ManagedElement},
        {"MultiLayerSubnetwork", alarms::ObjectType::MultilayerSubnetwork},
        {"TopologicalLink", alarms::ObjectType::TopologicalLink},
        {"SubnetworkConnection", alarms::ObjectType::SubnetworkConnection},
        {"PTP", alarms::ObjectType::PhysicalTerminationPoint},
        {"CTP", alarms::ObjectType::ConnectionTerminationPoint},
        {"TPPool", alarms::ObjectType::TerminationPointPool},
        {"EquipmentHolder", alarms::ObjectType::EquipmentHolder},
        {"Equipment", alarms::ObjectType::Equipment},
        {"PGP", alarms::ObjectType::ProtectionGroup},
        {"TrafficDescriptor", alarms::ObjectType::TrafficDescriptor},
        {"AID", alarms::ObjectType::Aid},
    };
    for (const auto& [name, type] : types)
        EXPECT_EQ(readAlarms(with("objectName", {{"X", "1"}, {name, "2"}})).front().objectType,
                  type)
            << name;
    EXPECT_EQ(refusalOf(with("objectName", {{"EMS", "1"}, {"Oven", "2"}})),
              "objectType is missing, and a name that ends in \"Oven\" does not tell it");
    Json oven = with("objectName", {{"EMS", "1"}, {"Oven", "2"}});
    oven["objectType"] = "OT_EQUIPMENT";
    EXPECT_EQ(readAlarms(oven).front().objectType, alarms::ObjectType::Equipment);
}

TEST(AlarmJson, AcceptsEveryEnumeratorByName) {
    const std::vector<std::string> severities = {"PS_INDETERMINATE", "PS_CRITICAL", "PS_MAJOR",
                                                 "PS_MINOR",         "PS_WARNING",  "PS_CLEARED"};
    for (std::size_t i = 0; i < severities.size(); ++i)
        EXPECT_EQ(
            static_cast<std::size_t>(
                readAlarms(with("perceivedSeverity", severities[i])).front().perceivedSeverity),
            i);
    EXPECT_EQ(readAlarms(with("objectType", "OT_AID")).front().objectType, alarms::ObjectType::Aid);
    EXPECT_EQ(
        readAlarms(with("serviceAffecting", "SA_NON_SERVICE_AFFECTING")).front().serviceAffecting,
        alarms::ServiceAffecting::NotAffecting);
    EXPECT_EQ(readAlarms(with("acknowledgeIndication", "AI_EVENT_ACKNOWLEDGED"))
                  .front()
                  .acknowledgeIndication,
              alarms::Acknowledgement::Acknowledged);
}

TEST(AlarmJson, RefusesAnUnknownKeyByName) {
    for (const std::string key : {"severity", "notificationId", "emsTime", "objectname", ""})
        EXPECT_EQ(refusalOf(with(key, "x")),
                  "\"" + key + "\" is no field that an alarm can be given");
}

TEST(AlarmJson, RefusesAFieldOfTheWrongTypeByName) {
    const std::set<std::string> freeTexts = {"nativeEMSName",  "nativeProbableCause",
                                             "probableCause",  "probableCauseQualifier",
                                             "additionalText", "objectTypeQualifier"};
    const Json whole = wholeAlarm();
    for (const auto& [key, value] : whole.items()) {
        std::vector<Json> wrongs = {nullptr, 1.5, Json::array({Json::array({7})})};
        if (freeTexts.count(key) == 0)
            wrongs.push_back("no such thing");
        for (const Json& wrong : wrongs) {
            Json alarm = whole;
            alarm[key] = wrong;
            EXPECT_THAT(refusalOf(alarm), StartsWith(key + " must be ")) << wrong;
        }
    }
}

TEST(AlarmJson, NamesTheExpectedValues) {
    EXPECT_EQ(refusalOf(with("perceivedSeverity", "PS_HUGE")),
              "perceivedSeverity must be one of PS_INDETERMINATE, PS_CRITICAL, PS_MAJOR, PS_MINOR, "
              "PS_WARNING, "
              "PS_CLEARED, but is \"PS_HUGE\"");
    EXPECT_EQ(refusalOf(with("layerRate", 32768)),
              "layerRate must be an integer from 0 to 32767, but is 32768");
    EXPECT_EQ(refusalOf(with("layerRate", -1)),
              "layerRate must be an integer from 0 to 32767, but is -1");
    EXPECT_EQ(refusalOf(with("isClearable", "yes")),
              "isClearable must be true or false, but is \"yes\"");
    EXPECT_EQ(refusalOf(with("X.733::MonitoredAttributes", {{"a", 2147483648}})),
              "X.733::MonitoredAttributes must be a text, a boolean, a number or an integer of 32 "
              "bits, but is "
              "2147483648");
    for (const std::string number : {"-2147483649", "9223372036854775808", "18446744073709551615"})
        EXPECT_THAT(refusalOf(with("X.733::MonitoredAttributes", {{"a", Json::parse(number)}})),
                    StartsWith("X.733::MonitoredAttributes must be"))
            << number;
    EXPECT_THAT(refusalOf(with("layerRate", Json::parse("18446744073709551615"))),
                StartsWith("layerRate must be"));
    EXPECT_THAT(refusalOf(with("additionalText", std::string("a\0b", 3))),
                StartsWith("additionalText must be a text without a character of number 0"))
        << "CORBA's strings end there";
    EXPECT_THAT(refusalOf(with("objectName", {{{"name", "EMS"}, {"value", "x"}, {"more", 1}}})),
                StartsWith("objectName must be an object with texts"));
}

TEST(AlarmJson, ClearedAlarmIsClearable) {
    Json alarm = with("perceivedSeverity", "PS_CLEARED");
    EXPECT_TRUE(readAlarms(alarm).front().isClearable);
    alarm["isClearable"] = false;
    EXPECT_EQ(refusalOf(alarm), "isClearable must be true when perceivedSeverity is PS_CLEARED");
}

TEST(AlarmJson, BackUpObjectBelongsToTheStatusBackedUp) {
    Json alarm = wholeAlarm();
    alarm.erase("X.733::BackUpObject");
    EXPECT_THAT(refusalOf(alarm), HasSubstr("X.733::BackUpObject belongs to"));
    alarm = wholeAlarm();
    alarm["X.733::BackedUpStatus"] = "NOT_BACKED_UP";
    EXPECT_THAT(refusalOf(alarm), HasSubstr("X.733::BackUpObject belongs to"));
}

TEST(AlarmJson, NamesTheInvalidAlarmOfAnArray) {
    EXPECT_EQ(readAlarms(Json::array({smallestAlarm(), wholeAlarm()})).size(), 2u);
    EXPECT_TRUE(readAlarms(Json::array()).empty());
    EXPECT_EQ(refusalOf(Json::array({smallestAlarm(), with("layerRate", true), smallestAlarm()})),
              "alarm 2 of 3: layerRate must be an integer from 0 to 32767, but is true");
    EXPECT_EQ(refusalOf(Json::array({smallestAlarm(), 7})),
              "alarm 2 of 2: an alarm must be an object");
    for (const Json& wrong : {Json(nullptr), Json("x"), Json(7)})
        EXPECT_EQ(refusalOf(wrong), "an alarm must be an object");
}

TEST(AlarmJson, ErrorHasThePathOfTheWrongValue) {
    const auto pathOf = [](const Json& request, const std::string& path = {}) -> std::string {
        try {
            readAlarms(request, path);
        } catch (const admin::RequestError& wrong) {
            return wrong.path();
        }
        return "nothing";
    };
    EXPECT_EQ(pathOf(with("layerRate", -1)), "/layerRate");
    EXPECT_EQ(pathOf(with("affectedTPList", {{{"EMS", "x"}}, {{"EMS", "x"}, {"a/b", 7}}})),
              "/affectedTPList/1/a~1b");
    EXPECT_EQ(pathOf(Json::array({smallestAlarm(), with("rcaiIndicator", "yes")})),
              "/1/rcaiIndicator");
    EXPECT_EQ(pathOf(Json::array({smallestAlarm(), with("rcaiIndicator", "yes")}), "/alarms"),
              "/alarms/1/rcaiIndicator");
    EXPECT_EQ(pathOf(Json::array({7})), "/0");
}

TEST(AlarmJson, WritesTheNeTimeAsTheInterfaceDoes) {
    const kelp::test::ScopedEnvironment zone("TZ", "Europe/Berlin");
    ::tzset();
    const auto said = [](const std::string& text) {
        return readAlarms(with("neTime", text)).front().neTime;
    };
    kelp::test::configure("");
    EXPECT_EQ(said("20240105030405.0Z"), "20240105030405.0Z");
    EXPECT_EQ(said("20240705030405"), "20240705010405.0Z") << "local summer time";
    EXPECT_EQ(said(""), "");
    kelp::test::configure("[time]\nappearance = 1\nreference = 1\n");
    EXPECT_EQ(said("20240105030405.0Z"), "05/01/2024 04:04:05");
    EXPECT_EQ(refusalOf(with("neTime", "yesterday")),
              "neTime must be a time such as 20240105030405.0Z, but is \"yesterday\"");
}

}  // namespace
}  // namespace kelp::ems
