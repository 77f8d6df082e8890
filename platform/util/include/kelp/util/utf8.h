#pragma once

#include <kelp/util/export.h>

#include <cstddef>
#include <string_view>

namespace kelp::util {

/// The length in bytes of the well-formed character (RFC 3629) at the beginning of a text that is
/// not empty; 0 if there is none.
KELP_EXPORT std::size_t utf8CharacterAt(std::string_view text);

/// The same, but 0 for a control character (U+0000 to U+001F, U+007F to U+009F) too.
KELP_EXPORT std::size_t printableCharacterAt(std::string_view text);

/// Return whether the whole text is well-formed UTF-8.
KELP_EXPORT bool isUtf8(std::string_view text);

}  // namespace kelp::util
