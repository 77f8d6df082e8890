#pragma once

#include <kelp/util/export.h>

#include <string>

namespace NS_CORBA {

/// The session that the request in hand belongs to.
class KELP_EXPORT TEUserHelper {
  public:
    /// The tagged session name of the request being served: name of the root POA's child that the
    /// target lives under
    /// ("<USERNAME_TAG>...</USERNAME_TAG><IPANDPORT_TAG>...</IPANDPORT_TAG>" for a session's
    /// objects). Empty outside a request.
    static std::string GetNmsIPAddrByContext();
};

}  // namespace NS_CORBA
