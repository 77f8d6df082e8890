#pragma once

#include <kelp/util/export.h>

#include <string_view>

namespace kelp::util {

/// Return whether the text is a DNS host name (RFC 1123): labels of letters, digits and hyphens.
/// The last label must have a letter, so that a mistyped IPv4 address is not a host name. Nothing
/// is resolved.
KELP_EXPORT bool isHostName(std::string_view text);

/// Compare two host names as the DNS does, without regard to case.
KELP_EXPORT bool isSameHostName(std::string_view a, std::string_view b);

}  // namespace kelp::util
