#pragma once

#include <string>

namespace kelp::naming {

/// True for what may stand between "corbaname:" and "#": addresses, separated by commas, and at
/// will a key (OMG CORBA 13.6.10.1). An address is ":", "iiop:" or "ssliop:", at will a version
/// ("1.2@"), a host and at will a port; or "rir:".
bool isUrlAddress(const std::string& text);

/// A stringified name as it stands behind "#": what RFC 2396 does not allow there, and the
/// backslash, as %XX (OMG Naming Service 1.3, clause 2.5.3.4).
std::string escapedForUrl(const std::string& stringifiedName);

}  // namespace kelp::naming
