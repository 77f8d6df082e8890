#pragma once

#include <string>

namespace kelp::naming {

/// True for the part of a URL between "corbaname:" and "#": addresses separated by commas, and
/// optionally a key (OMG CORBA 13.6.10.1). An address is "rir:", or ":", "iiop:" or "ssliop:" with
/// an optional version ("1.2@"), a host and an optional port.
bool isUrlAddress(const std::string& text);

/// A stringified name as it appears after "#" in a URL. Characters that RFC 2396 does not allow
/// there, and the backslash, become %XX (OMG Naming Service 1.3, clause 2.5.3.4).
std::string escapedForUrl(const std::string& stringifiedName);

}  // namespace kelp::naming
