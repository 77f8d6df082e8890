#pragma once

#include <string>
#include <string_view>

#include "kelp/alarms/alarm_json.h"

namespace kelp::alarms {

/// Write a value as CBOR, behind what `text` holds already.
void appendCbor(std::string& text, const Json& value);

/// Read the value that `text` begins with, and remove it from `text`. Throws DamagedRecord for
/// anything that appendCbor() does not write. What it needs is bounded by the length of the text:
/// nesting, counts and lengths are checked before anything is built from them.
Json takeCbor(std::string_view& text);

}  // namespace kelp::alarms
