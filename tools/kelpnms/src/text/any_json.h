#pragma once

#include <kelp/orb/corba.h>
#include <nlohmann/json.hpp>

namespace kelp::nms {

/// Convert the value of an Any to JSON: numbers, texts, booleans, enumerators by their names, lists
/// and structures. A list of names and text values becomes one object. A value of any other type
/// becomes null.
nlohmann::ordered_json asJson(const CORBA::Any& any);

/// The same, but a list of names and text values stays a list of {"name", "value"}, as in a dump.
nlohmann::ordered_json asWholeJson(const CORBA::Any& any);

}  // namespace kelp::nms
