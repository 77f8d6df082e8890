#pragma once

#include "kelp/alarms/alarm.h"

namespace kelp::alarms {

// Whether a text has a character of number 0, which CORBA cannot carry.
bool hasZero(const std::string& text);
bool hasZero(const Name& name);
bool hasZero(const Names& names);

}  // namespace kelp::alarms
