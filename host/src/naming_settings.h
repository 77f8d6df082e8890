#pragma once

#include <string>

namespace kelp::host {

/// True when the embedded naming service can listen where it is configured to; else one clear
/// sentence about an address where it cannot.
bool namingPortsAreFree(std::string& whyNot);

/// Where NMS find the naming service, embedded or not, as a corbaloc.
std::string configuredNamingAddress();

}  // namespace kelp::host
