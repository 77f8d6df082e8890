#pragma once

#include <kelp/util/export.h>

#include <cstddef>
#include <string_view>

namespace kelp::util {

/// Return the length in bytes of the character at the beginning of the text; 0 if it is not
/// well-formed UTF-8 (RFC 3629). The text must not be empty.
KELP_EXPORT std::size_t utf8CharacterAt(std::string_view text);

/// The same, but also 0 for a character that would change how the text around it is shown: control
/// characters (U+0000 to U+001F, U+007F to U+009F), those that change the direction of writing
/// (such as U+202E), line separators, and the byte order mark.
KELP_EXPORT std::size_t printableCharacterAt(std::string_view text);

/// Return whether the whole text is well-formed UTF-8.
KELP_EXPORT bool isUtf8(std::string_view text);

}  // namespace kelp::util
