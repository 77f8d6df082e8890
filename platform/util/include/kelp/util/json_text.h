#pragma once

#include <string>

namespace kelp::util {

/// Write a value of nlohmann's JSON library as text: on one line, or with `indent` blanks for each
/// level. Octets that are not UTF-8 become U+FFFD, because without this they would be an error.
template <class Json>
std::string jsonText(const Json& json, int indent = -1) {
    return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace kelp::util
