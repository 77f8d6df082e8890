#pragma once

#include <cstddef>
#include <string>

namespace NS_CORBA {

/// Maximum length of an NMS user's name in bytes.
inline constexpr std::size_t kNameBytesMax = 64;

/// Return why a text cannot be an NMS user's name, as one sentence; empty when it can.
std::string problemOfUserName(const std::string& name);

}  // namespace NS_CORBA
