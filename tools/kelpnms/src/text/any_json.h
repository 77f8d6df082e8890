#pragma once

#include <kelp/orb/corba.h>
#include <nlohmann/json.hpp>

namespace kelp::nms {

/// What an Any holds as JSON: numbers, texts, booleans, enumerators by their names, lists,
/// structures; lists of names and text values as one object. Null for what has no such form.
nlohmann::ordered_json asJson(const CORBA::Any& any);

}  // namespace kelp::nms
