// The schema against the mapping: both must know the same fields.

#include <gtest/gtest.h>
#include <kelp/alarms/alarm_schema.h>
#include <kelp/alarms/enum_names.h>

#include <algorithm>
#include <fstream>
#include <set>

#include "unit/alarms/some_alarms.h"

using namespace kelp::alarms;
using kelp::test::fullAlarm;
using kelp::test::someAlarm;

namespace {

Json shippedSchema() {
    std::ifstream file(std::string(SHIPPED_CONFIG_DIR) + "/alarms.schema.json");
    return Json::parse(file);
}

Json alarmRules() {
    return shippedSchema()["definitions"]["alarm"]["properties"];
}

std::string violation(const Json& alarm) {
    const auto found = schemaViolation(alarm);
    return found ? found->path : "none";
}

TEST(AlarmSchema, KnowsTheKeysThatTheMappingKnows) {
    std::set<std::string> keys;
    const Json rules = alarmRules();
    for (const auto& [key, rule] : rules.items())
        keys.insert(key);
    const auto known = alarmKeys();
    EXPECT_EQ(keys, std::set<std::string>(known.begin(), known.end()));
}

TEST(AlarmSchema, KnowsTheValuesThatTheMappingKnows) {
    const Json rules = alarmRules();
    EXPECT_EQ(rules["objectType"]["enum"], Json(objectTypeNames()));
    EXPECT_EQ(rules["perceivedSeverity"]["enum"], Json(severityNames()));
    EXPECT_EQ(rules["serviceAffecting"]["enum"], Json(serviceAffectingNames()));
    EXPECT_EQ(rules["acknowledgeIndication"]["enum"], Json(acknowledgementNames()));
    EXPECT_EQ(rules["X.733::EventType"]["enum"], Json(eventTypeNames()));
    EXPECT_EQ(rules["X.733::BackedUpStatus"]["enum"], Json(backedUpStatusNames()));
    EXPECT_EQ(rules["X.733::TrendIndication"]["enum"], Json(trendNames()));
}

TEST(AlarmSchema, AcceptsWhatTheMappingWrites) {
    Alarm full = fullAlarm();
    full.additionalText = "x";
    EXPECT_EQ(violation(toJson(full)), "none");
    EXPECT_EQ(violation(toJson(someAlarm())), "none");
}

TEST(AlarmSchema, RefusesTheTypesThatTheMappingRefuses) {
    Alarm full = fullAlarm();
    full.additionalText = "x";
    const Json whole = toJson(full);
    for (const auto& [key, value] : whole.items()) {
        for (const Json& other : {Json(), Json(1.5), Json(true), Json("no such thing"), Json(7),
                                  Json::array({Json::array({7})}), Json{{"a", nullptr}}}) {
            Json changed = whole;
            changed[key] = other;
            bool isRefused = false;
            try {
                readAlarm(changed, {});
            } catch (const WrongAlarm&) {
                isRefused = true;
            }
            EXPECT_EQ(violation(changed) != "none", isRefused) << key << " " << other;
        }
    }
}

TEST(AlarmSchema, NamesThePathOfTheInnermostError) {
    Json alarm = toJson(someAlarm());
    alarm["additionalInfo"] = {{"a", "x"}, {"b", 7}};
    EXPECT_EQ(violation(alarm), "/additionalInfo/b");
    alarm = toJson(someAlarm());
    alarm.erase("probableCause");
    EXPECT_EQ(violation(alarm), "");
    alarm["strange"] = 1;
    EXPECT_NE(violation(alarm), "none");
    EXPECT_EQ(violation(Json(7)), "");
    alarm = toJson(someAlarm());
    alarm["objectName"] = Json::object();
    EXPECT_EQ(violation(alarm), "/objectName");
}

TEST(AlarmSchema, HoldsForAlarmsWithAKey) {
    const auto wrong = [](const Json& keyed) {
        const auto found = schemaViolation(keyed, SchemaPart::KeyedAlarms);
        return found ? found->path : "none";
    };
    Json bad = toJson(someAlarm());
    bad["layerRate"] = "20";
    EXPECT_EQ(wrong({{"idempotencyKey", "k"}, {"alarms", Json::array()}}), "none");
    EXPECT_EQ(wrong({{"idempotencyKey", "k"}, {"alarms", {toJson(someAlarm())}}}), "none");
    EXPECT_EQ(wrong({{"idempotencyKey", "k"}, {"alarms", {toJson(someAlarm()), bad}}}),
              "/alarms/1/layerRate");
    EXPECT_EQ(wrong({{"idempotencyKey", 7}, {"alarms", Json::array()}}), "/idempotencyKey");
    EXPECT_EQ(wrong({{"idempotencyKey", ""}, {"alarms", Json::array()}}), "/idempotencyKey");
    EXPECT_EQ(wrong({{"idempotencyKey", std::string(181, 'k')}, {"alarms", Json::array()}}),
              "/idempotencyKey");
    EXPECT_EQ(wrong({{"idempotencyKey", "k"}, {"alarms", toJson(someAlarm())}}), "/alarms");
    EXPECT_EQ(wrong({{"idempotencyKey", "k"}}), "");
    EXPECT_NE(wrong({{"idempotencyKey", "k"}, {"alarms", Json::array()}, {"x", 1}}), "none");
}

}  // namespace
