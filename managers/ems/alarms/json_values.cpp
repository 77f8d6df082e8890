#include "alarms/json_values.h"

#include <kelp/agent/time_change.h>
#include <kelp/util/joined.h>
#include <kelp/util/json_text.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <ctime>
#include <limits>
#include <utility>

namespace kelp::ems {

namespace {

using admin::Json;

std::string shown(const Json& value) {
    return util::escaped(util::jsonText(value), 60);
}

[[noreturn]] void refuse(const std::string& expected, const Json& value) {
    throw WrongValue{"must be " + expected + ", but is " + shown(value)};
}

const Json& asArray(const Json& value, const char* expected) {
    if (!value.is_array())
        refuse(expected, value);
    return value;
}

void setPair(globaldefs::NameAndStringValue_T& pair, const std::string& name, const Json& value) {
    pair.name = CORBA::string_dup(readText(name).c_str());
    pair.value = CORBA::string_dup(readText(value).c_str());
}

const Json& member(const Json& object, const char* key, std::size_t members, const char* expected) {
    if (!object.is_object() || object.size() != members || !object.contains(key))
        refuse(expected, object);
    return object[key];
}

CORBA::ULong lengthOf(const Json& list) {
    return static_cast<CORBA::ULong>(list.size());
}

/// Whether an integer fits. Numbers from 2^63 on are stored as unsigned. Read as signed they would
/// compare like negative ones.
template <class Integer>
bool fitsInto(const Json& value) {
    if (value.is_number_unsigned())
        return std::in_range<Integer>(value.get<std::uint64_t>());
    return value.is_number_integer() && std::in_range<Integer>(value.get<std::int64_t>());
}

Alarm::Value readScalar(const Json& value) {
    if (value.is_boolean())
        return value.get<bool>();
    if (fitsInto<std::int32_t>(value))
        return value.get<std::int32_t>();
    if (value.is_number_float())
        return value.get<double>();
    if (value.is_string())
        return readText(value);
    refuse("a text, a boolean, a number or an integer of 32 bits", value);
}

}  // namespace

std::string readText(const Json& value) {
    if (!value.is_string())
        refuse("a text", value);
    std::string text = value.get<std::string>();
    if (text.find('\0') != std::string::npos)
        refuse("a text without a character of number 0", value);
    return text;
}

std::string readChoice(const Json& value, const std::vector<std::string>& choices) {
    if (!value.is_string() ||
        std::find(choices.begin(), choices.end(), value.get<std::string>()) == choices.end())
        refuse("one of " + util::joined(choices, ", "), value);
    return value.get<std::string>();
}

bool readFlag(const Json& value) {
    if (!value.is_boolean())
        refuse("true or false", value);
    return value.get<bool>();
}

std::int16_t readLayerRate(const Json& value) {
    constexpr int kMax = std::numeric_limits<std::int16_t>::max();
    if (!fitsInto<std::int16_t>(value) || value < 0)
        refuse("an integer from 0 to " + std::to_string(kMax), value);
    return value.get<std::int16_t>();
}

std::string readTime(const Json& value) {
    std::string text = readText(value);
    if (text.empty())
        return text;
    bool isWrong = false;
    std::tm local = NS_KELPCORBA::TimeChange::str2Time(text, isWrong);
    if (isWrong)
        refuse("a time such as 20240105030405.0Z", value);
    return NS_KELPCORBA::TimeChange::time2strByConf(static_cast<long>(std::mktime(&local)));
}

globaldefs::NVSList_T readPairs(const Json& value) {
    constexpr const char* kExpected =
        R"(an object with texts, or an array of {"name": "...", "value": "..."})";
    globaldefs::NVSList_T list;
    CORBA::ULong next = 0;
    if (value.is_object()) {
        list.length(lengthOf(value));
        for (const auto& [name, text] : value.items())
            setPair(list[next++], name, text);
        return list;
    }
    list.length(lengthOf(asArray(value, kExpected)));
    for (const Json& pair : value)
        setPair(list[next++], readText(member(pair, "name", 2, kExpected)),
                member(pair, "value", 2, kExpected));
    return list;
}

globaldefs::NamingAttributesList_T readNames(const Json& value) {
    globaldefs::NamingAttributesList_T list;
    list.length(lengthOf(asArray(value, "an array of names")));
    for (CORBA::ULong i = 0; i < list.length(); ++i)
        list[i] = readPairs(value[i]);
    return list;
}

notifications::CorrelatedNotificationList_T readCorrelated(const Json& value) {
    constexpr const char* kExpected = R"(an array of {"source": {...}, "notifIDs": ["..."]})";
    notifications::CorrelatedNotificationList_T list;
    list.length(lengthOf(asArray(value, kExpected)));
    for (CORBA::ULong i = 0; i < list.length(); ++i) {
        list[i].source = readPairs(member(value[i], "source", 2, kExpected));
        const Json& ids = asArray(member(value[i], "notifIDs", 2, kExpected), kExpected);
        list[i].notifIDs.length(lengthOf(ids));
        for (CORBA::ULong j = 0; j < list[i].notifIDs.length(); ++j)
            list[i].notifIDs[j] = CORBA::string_dup(readText(ids[j]).c_str());
    }
    return list;
}

std::vector<std::pair<std::string, Alarm::Value>> readAttributes(const Json& value) {
    if (!value.is_object())
        refuse("an object", value);
    std::vector<std::pair<std::string, Alarm::Value>> all;
    for (const auto& [name, scalar] : value.items())
        all.emplace_back(readText(name), readScalar(scalar));
    return all;
}

}  // namespace kelp::ems
