#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "files/json_values.h"

namespace kelp::inventory {

/// The content of a JSON text. If a key is repeated in an object its last value counts.
struct JsonText {
    Json value;
    /// The path to the first repeated key; its last entry is that key. Empty if no key is repeated.
    std::vector<std::string> repeated;
};

/// Throws nlohmann's exception if the text is not JSON.
JsonText parsedJson(std::string_view text);

/// The message "a: b: this key is there twice", with the keys from the index `from` on.
std::string repetitionText(const std::vector<std::string>& keys, std::size_t from);

}  // namespace kelp::inventory
