#pragma once

#include <kelp/util/export.h>

#include <string>

namespace NS_CORBA {

/// Finds the session that the current request belongs to.
class KELP_EXPORT TEUserHelper {
  public:
    /// Return the tagged session name of the current request: the name of the root POA's child that
    /// contains the target. For the objects of a session it is
    /// "<USERNAME_TAG>...</USERNAME_TAG><IPANDPORT_TAG>...</IPANDPORT_TAG>". Empty outside a
    /// request.
    static std::string GetNmsIPAddrByContext();
};

}  // namespace NS_CORBA
