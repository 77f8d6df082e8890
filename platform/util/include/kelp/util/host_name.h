#pragma once

#include <kelp/util/export.h>

#include <string_view>

namespace kelp::util {

/// True for a host name of the DNS (RFC 1123): labels of letters, digits and hyphens, the last with
/// a letter, so that no mistyped IPv4 address passes for one. Nothing is resolved.
KELP_EXPORT bool isHostName(std::string_view text);

/// Compares two host names as the DNS does: upper and lower case are the same.
KELP_EXPORT bool isSameHostName(std::string_view a, std::string_view b);

}  // namespace kelp::util
