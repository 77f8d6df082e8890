#pragma once

#include <kelp/util/json_text.h>
#include <nlohmann/json.hpp>

#include <string>

namespace kelp::nms {

/// Return the JSON as one line of text, without the line end.
inline std::string lineOf(const nlohmann::ordered_json& json) {
    return util::jsonText(json);
}

}  // namespace kelp::nms
