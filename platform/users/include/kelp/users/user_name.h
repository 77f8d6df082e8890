#pragma once

#include <kelp/util/export.h>

#include <cstddef>
#include <string>

namespace kelp::users {

/// Maximum length of an NMS user's name in bytes.
inline constexpr std::size_t kNameBytesMax = 64;

/// Return why a text cannot be an NMS user's name, as one sentence; empty when it can.
KELP_EXPORT std::string problemOfUserName(const std::string& name);

}  // namespace kelp::users
