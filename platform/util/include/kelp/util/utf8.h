#pragma once

#include <kelp/util/export.h>

#include <cstddef>
#include <string_view>

namespace kelp::util {

/// How many bytes the well-formed character (RFC 3629) at the begin of a text has, which is not
/// empty; 0: there is none.
KELP_EXPORT std::size_t utf8CharacterAt(std::string_view text);

/// Whether all of it is well-formed UTF-8.
KELP_EXPORT bool isUtf8(std::string_view text);

}  // namespace kelp::util
