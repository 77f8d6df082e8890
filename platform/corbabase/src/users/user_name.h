#pragma once

#include <cstddef>
#include <string>

namespace NS_CORBA {

/// The longest name of an NMS user, in bytes.
inline constexpr std::size_t kNameBytesMax = 64;

/// Why a text cannot be an NMS user's name, as one sentence; empty when it can.
std::string problemOfUserName(const std::string& name);

}  // namespace NS_CORBA
