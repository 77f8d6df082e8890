#pragma once

#include <string>

namespace kelp::nms {

/// Read host and port from the naming service's text, "corbaloc:iiop:HOST:PORT/Key" or an IOR.
/// Needs no ORB and makes no call. Returns false when the text has no address.
bool namingAddress(const std::string& naming, std::string& host, std::string& port);

/// Return the numeric address of this host from which packets to `host` leave. Sends nothing.
/// Throws NmsError when there is no route to `host`.
std::string localAddressTowards(const std::string& host, const std::string& port);

}  // namespace kelp::nms
