#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace kelp::nms {

/// Return the JSON as one line of text, without the line end. Invalid UTF-8 is replaced, so that
/// the rest of the line is still written.
inline std::string lineOf(const nlohmann::ordered_json& json) {
    return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace kelp::nms
