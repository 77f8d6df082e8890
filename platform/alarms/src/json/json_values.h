#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "kelp/alarms/alarm.h"
#include "kelp/alarms/alarm_json.h"

namespace kelp::alarms {

/// What is wrong with a value: "must be a text, but is a number".
struct WrongValue {
    std::string what;
};

/// Throw WrongValue: the value must be `expected`.
[[noreturn]] void refuse(const std::string& expected, const Json& value);

// Each function reads a JSON value as the value of a field, or throws WrongValue.
std::string readText(const Json& value);
std::string readChoice(const Json& value, const std::vector<std::string>& choices);
bool readFlag(const Json& value);
std::int16_t readLayerRate(const Json& value);
Name readPairs(const Json& value);
Names readNames(const Json& value);
std::vector<CorrelatedNotifications> readCorrelated(const Json& value);
std::vector<std::pair<std::string, Alarm::Value>> readAttributes(const Json& value);

/// Read an enumerator by its name. `names` lists the names of the enumerators 0, 1, 2 ... in order.
template <class Enum>
Enum readEnum(const Json& value, const std::vector<std::string>& names) {
    const std::string name = readChoice(value, names);
    std::size_t number = 0;
    while (names[number] != name)
        ++number;
    return static_cast<Enum>(number);
}

// Each function writes the value of a field as the function above reads it.
Json writeNames(const Names& names);
Json writeCorrelated(const std::vector<CorrelatedNotifications>& all);
Json writeAttributes(const std::vector<std::pair<std::string, Alarm::Value>>& all);

}  // namespace kelp::alarms
