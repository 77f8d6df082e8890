#pragma once

#include <string>

namespace NS_CORBA {

/// Why a text cannot be an NMS user's name, as one sentence; empty when it can.
std::string problemOfUserName(const std::string& name);

}  // namespace NS_CORBA
