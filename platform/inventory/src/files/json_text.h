#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "files/json_values.h"

namespace kelp::inventory {

/// What a JSON text holds. Where a key stands twice in one object the last of its values counts.
struct JsonText {
    Json value;
    /// The keys that lead to the first that stands twice, which is the last of them; empty: none
    /// does.
    std::vector<std::string> repeated;
};

/// Throws nlohmann's exception for what is no JSON.
JsonText parsedJson(std::string_view text);

/// "a: b: this key is there twice" for the keys from that place on.
std::string repetitionText(const std::vector<std::string>& keys, std::size_t from);

}  // namespace kelp::inventory
