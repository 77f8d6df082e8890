#pragma once

#include <kelp/admin/registry.h>
#include <mtnm/globaldefs.h>
#include <mtnm/notifications.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "alarms/alarm.h"

namespace kelp::ems {

/// What is wrong with a value: "must be a text, but is a number".
struct WrongValue {
    std::string what;
};

// Each function reads a JSON value as the value of a field, or throws WrongValue.
std::string readText(const admin::Json& value);
std::string readChoice(const admin::Json& value, const std::vector<std::string>& choices);
bool readFlag(const admin::Json& value);
std::int16_t readLayerRate(const admin::Json& value);
/// Read a time in any layout that the interface accepts and convert it to the configured one. An
/// empty text stays empty.
std::string readTime(const admin::Json& value);
globaldefs::NVSList_T readPairs(const admin::Json& value);
globaldefs::NamingAttributesList_T readNames(const admin::Json& value);
notifications::CorrelatedNotificationList_T readCorrelated(const admin::Json& value);
std::vector<std::pair<std::string, Alarm::Value>> readAttributes(const admin::Json& value);

/// Read an enumerator by its name. `names` lists the names of the enumerators 0, 1, 2 ... in order.
template <class Enum>
Enum readEnum(const admin::Json& value, const std::vector<std::string>& names) {
    const std::string name = readChoice(value, names);
    int number = 0;
    while (names[static_cast<std::size_t>(number)] != name)
        ++number;
    return static_cast<Enum>(number);
}

}  // namespace kelp::ems
