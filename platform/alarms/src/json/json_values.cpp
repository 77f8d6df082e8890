#include "json/json_values.h"

#include <kelp/util/joined.h>
#include <kelp/util/json_text.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <limits>

namespace kelp::alarms {

namespace {

std::string shown(const Json& value) {
    return util::escaped(util::jsonText(value), 60);
}

const Json& asArray(const Json& value, const char* expected) {
    if (!value.is_array())
        refuse(expected, value);
    return value;
}

const Json& member(const Json& object, const char* key, std::size_t members, const char* expected) {
    if (!object.is_object() || object.size() != members || !object.contains(key))
        refuse(expected, object);
    return object[key];
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

/// Whether an object can hold the pairs: each name once, and few, because an object is searched
/// from its first member on.
bool fitsIntoObject(const Name& name) {
    constexpr std::size_t kMembersMax = 32;
    if (name.empty() || name.size() > kMembersMax)
        return false;
    for (auto each = name.begin(); each != name.end(); ++each) {
        if (std::any_of(name.begin(), each,
                        [&](const auto& earlier) { return earlier.first == each->first; }))
            return false;
    }
    return true;
}

}  // namespace

void refuse(const std::string& expected, const Json& value) {
    throw WrongValue{"must be " + expected + ", but is " + shown(value)};
}

std::string readText(const Json& value) {
    if (!value.is_string())
        refuse("a text", value);
    std::string text = value.get<std::string>();
    if (text.find('\0') != std::string::npos)
        refuse("a text without a character of number 0", value);
    return text;
}

std::string readChoice(const Json& value, const std::vector<std::string>& choices) {
    if (!value.is_string() || std::find(choices.begin(), choices.end(),
                                        value.get_ref<const std::string&>()) == choices.end())
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

Name readPairs(const Json& value) {
    constexpr const char* kExpected =
        R"(an object with texts, or an array of {"name": "...", "value": "..."})";
    Name pairs;
    pairs.reserve(value.size());
    if (value.is_object()) {
        for (const auto& [name, text] : value.items()) {
            std::string readable = readText(name);
            pairs.emplace_back(std::move(readable), readText(text));
        }
        return pairs;
    }
    for (const Json& pair : asArray(value, kExpected)) {
        std::string name = readText(member(pair, "name", 2, kExpected));
        pairs.emplace_back(std::move(name), readText(member(pair, "value", 2, kExpected)));
    }
    return pairs;
}

Names readNames(const Json& value) {
    Names names;
    for (const Json& each : asArray(value, "an array of names"))
        names.push_back(readPairs(each));
    return names;
}

std::vector<CorrelatedNotifications> readCorrelated(const Json& value) {
    constexpr const char* kExpected = R"(an array of {"source": {...}, "notifIDs": ["..."]})";
    std::vector<CorrelatedNotifications> all;
    for (const Json& each : asArray(value, kExpected)) {
        CorrelatedNotifications correlated;
        correlated.source = readPairs(member(each, "source", 2, kExpected));
        for (const Json& id : asArray(member(each, "notifIDs", 2, kExpected), kExpected))
            correlated.notificationIds.push_back(readText(id));
        all.push_back(std::move(correlated));
    }
    return all;
}

std::vector<std::pair<std::string, Alarm::Value>> readAttributes(const Json& value) {
    if (!value.is_object())
        refuse("an object", value);
    std::vector<std::pair<std::string, Alarm::Value>> all;
    for (const auto& [name, scalar] : value.items())
        all.emplace_back(readText(name), readScalar(scalar));
    return all;
}

Json toJson(const Name& name) {
    if (fitsIntoObject(name)) {
        Json object = Json::object();
        for (const auto& [component, value] : name)
            object.push_back({component, value});
        return object;
    }
    Json array = Json::array();
    for (const auto& [component, value] : name)
        array.push_back({{"name", component}, {"value", value}});
    return array;
}

Json writeNames(const Names& names) {
    Json array = Json::array();
    for (const Name& each : names)
        array.push_back(toJson(each));
    return array;
}

Json writeCorrelated(const std::vector<CorrelatedNotifications>& all) {
    Json array = Json::array();
    for (const auto& [source, ids] : all)
        array.push_back({{"source", toJson(source)}, {"notifIDs", ids}});
    return array;
}

Json writeAttributes(const std::vector<std::pair<std::string, Alarm::Value>>& all) {
    Json object = Json::object();
    for (const auto& [name, value] : all)
        object[name] = std::visit([](const auto& scalar) { return Json(scalar); }, value);
    return object;
}

}  // namespace kelp::alarms
