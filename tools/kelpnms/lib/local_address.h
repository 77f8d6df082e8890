#pragma once

#include <string>

namespace kelp::nms {

/// Host and port out of a naming service's text, "corbaloc:iiop:HOST:PORT/Key" or an IOR, without
/// an ORB and without a call. False when it names none.
bool namingAddress(const std::string& naming, std::string& host, std::string& port);

/// The numeric address of this host that its packets to `host` leave from; nothing is sent. Throws
/// NmsError when there is no way there.
std::string localAddressTowards(const std::string& host, const std::string& port);

}  // namespace kelp::nms
