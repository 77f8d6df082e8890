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

// Each takes a value of JSON as one of a field, or throws WrongValue.
std::string readText(const admin::Json& value);
std::string readChoice(const admin::Json& value, const std::vector<std::string>& choices);
bool readFlag(const admin::Json& value);
std::int16_t readLayerRate(const admin::Json& value);
/// A time in a layout that the interface takes, said in the one that it gives; an empty text stays
/// so.
std::string readTime(const admin::Json& value);
globaldefs::NVSList_T readPairs(const admin::Json& value);
globaldefs::NamingAttributesList_T readNames(const admin::Json& value);
notifications::CorrelatedNotificationList_T readCorrelated(const admin::Json& value);
std::vector<std::pair<std::string, Alarm::Value>> readAttributes(const admin::Json& value);

/// One of the enumerators 0, 1, 2 ... that are named in their order.
template <class Enum>
Enum readEnum(const admin::Json& value, const std::vector<std::string>& names) {
    const std::string name = readChoice(value, names);
    int number = 0;
    while (names[static_cast<std::size_t>(number)] != name)
        ++number;
    return static_cast<Enum>(number);
}

}  // namespace kelp::ems
