#include <gtest/gtest.h>
#include <kelp/alarms/alarm_json.h>
#include <kelp/alarms/change.h>

#include <random>

#include "unit/alarms/some_alarms.h"

using namespace kelp::alarms;
using kelp::test::fullAlarm;
using kelp::test::someAlarm;

namespace {

std::vector<Change> someChanges() {
    return {{1, Report{someAlarm()}},
            {-5, Report{fullAlarm()}},
            {2, Acknowledge{identityOf(fullAlarm()), true, "ada", "line\n"}},
            {3, Acknowledge{{{}, -7, "", ""}, false, "", ""}},
            {4, Settle{identityOf(someAlarm())}},
            {5, NetworkChange{NetworkChange::Kind::StateChange, someAlarm().objectName,
                              ObjectType::Aid, "q", R"({"a":[1]})"}}};
}

std::string cbor(const Json& json) {
    std::string text;
    Json::to_cbor(json, text);
    return text;
}

void expectDamaged(const std::string& record, const std::string& what) {
    EXPECT_THROW(decode(record), DamagedRecord) << what;
}

TEST(Records, DecodingGivesWhatWasEncoded) {
    for (const Change& change : someChanges())
        EXPECT_EQ(decode(encode(change)), change);
}

TEST(Records, FieldsWithTheirDefaultValueAreNotStored) {
    EXPECT_LT(encode({1, Report{someAlarm()}}).size(), 350u);
}

TEST(Records, ManyPairsAndRepeatedNamesSurvive) {
    Alarm alarm = someAlarm();
    for (int i = 0; i < 5000; ++i)
        alarm.additionalInfo.emplace_back("n" + std::to_string(i % 4999), "v");
    EXPECT_EQ(std::get<Report>(decode(encode({0, Report{alarm}})).what).alarm, alarm);
}

TEST(Records, AlarmThatCannotBeReadBackIsNotEncoded) {
    Alarm alarm = someAlarm();
    alarm.additionalText = std::string("a\0b", 3);
    EXPECT_THROW(encode({0, Report{alarm}}), std::invalid_argument);
    alarm = someAlarm();
    alarm.eventType = "strangeAlarm";
    EXPECT_THROW(encode({0, Report{alarm}}), std::invalid_argument);
    alarm = someAlarm();
    alarm.perceivedSeverity = static_cast<Severity>(6);
    EXPECT_THROW(encode({0, Report{alarm}}), std::invalid_argument);
    alarm = someAlarm();
    alarm.monitoredAttributes = {{"a", 1}, {"a", 2}};
    EXPECT_THROW(encode({0, Report{alarm}}), std::invalid_argument);
    AlarmId id = identityOf(someAlarm());
    id.objectName[0].first = std::string(1, '\0');
    EXPECT_THROW(encode({0, Settle{id}}), std::invalid_argument);
}

TEST(Records, RecordThatIsTooLongIsNeitherWrittenNorRead) {
    Alarm alarm = someAlarm();
    alarm.additionalText.assign(kRecordBytesMax, 'x');
    EXPECT_THROW(encode({0, Report{alarm}}), std::invalid_argument);
    expectDamaged(std::string(kRecordBytesMax + 1, '\0'), "too long");
}

TEST(Records, EveryTruncationIsRefused) {
    for (const Change& change : someChanges()) {
        const std::string record = encode(change);
        for (std::size_t length = 0; length < record.size(); ++length)
            expectDamaged(record.substr(0, length), std::to_string(length));
        expectDamaged(record + '\0', "something behind the end");
    }
}

TEST(Records, DamagedOctetNeverCrashes) {
    std::mt19937 random(4711);
    for (const Change& change : someChanges()) {
        const std::string record = encode(change);
        for (int i = 0; i < 500; ++i) {
            std::string damaged = record;
            damaged[random() % damaged.size()] = static_cast<char>(random());
            try {
                const Change read = decode(damaged);
                EXPECT_EQ(decode(encode(read)), read);
            } catch (const DamagedRecord&) {
            }
        }
    }
}

TEST(Records, OtherVersionIsRefused) {
    Json json = Json::from_cbor(encode(someChanges()[0]));
    json["v"] = 2;
    try {
        decode(cbor(json));
        FAIL() << "a later version was read";
    } catch (const DamagedRecord& damaged) {
        EXPECT_STREQ(damaged.what(), "a record of the change log was written by a later version");
    }
    json.erase("v");
    expectDamaged(cbor(json), "without a version");
}

TEST(Records, MemberThatIsThereTwiceIsRefused) {
    std::string record = encode({1, Report{fullAlarm()}});
    const std::size_t at = record.find("affectedTPList");
    ASSERT_NE(at, std::string::npos);
    record.replace(at, 14, "additionalInfo");
    expectDamaged(record, "additionalInfo twice");
}

TEST(Records, NumberInMoreOctetsThanItNeedsIsRefused) {
    std::string record = encode(someChanges()[2]);
    ASSERT_EQ(record.substr(0, 4), "\xa3\x61v\x01");
    record.insert(3, "\x18");
    expectDamaged(record, "the version in two octets");
}

TEST(Records, WrongTypesAreRefused) {
    const Json record = Json::from_cbor(encode(someChanges()[2]));
    for (const auto& [key, value] : record.items()) {
        for (const Json& other : {Json(), Json(true), Json("x"), Json(1.5), Json(-1), Json::array(),
                                  Json::object(), Json(~std::uint64_t{0})}) {
            Json changed = record;
            changed[key] = other;
            if (key != "at" || !other.is_number_integer() || other.is_number_unsigned())
                expectDamaged(cbor(changed), key + " " + other.dump());
        }
    }
    expectDamaged(cbor(7), "no object");
    expectDamaged(cbor({{"v", 1}, {"at", 1}, {"strange", 1}}), "unknown kind");
    expectDamaged(cbor({{"v", 1}, {"at", 1}, {"report", {{"strange", 1}}}}), "unknown field");
}

TEST(Records, HostileNestingAndCountsAreRefused) {
    // arrays, objects, tags, texts and octets of unknown length, each within the one before
    for (const char octet : {'\x81', '\xa1', '\xc1', '\x7f', '\x5f', '\x9f', '\xbf'})
        expectDamaged(std::string(1000000, octet), "nesting");
    // counts and lengths of 2^64 - 1, 2^63 and 2^32 - 1
    for (const char octet : {'\x9b', '\xbb', '\x7b', '\x5b'}) {
        expectDamaged(octet + std::string(8, '\xff') + std::string(100, '\0'), "count");
        expectDamaged(octet + ("\x80" + std::string(107, '\0')), "count");
    }
    expectDamaged("\x9a" + std::string(4, '\xff') + std::string(100, '\0'), "count");
    Json wide = Json::object();
    for (int i = 0; i < 2000; ++i)
        wide[std::to_string(i)] = 1;
    expectDamaged(cbor(wide), "many members");
}

}  // namespace
