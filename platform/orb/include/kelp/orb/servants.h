#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/export.h>

#include <string>

namespace kelp::orb {

/// Return the repository id of the servant's most derived interface
/// ("IDL:mtnm.tmforum.org/emsMgr/EMSMgr_I:1.0"); empty for null. No call is made.
KELP_EXPORT std::string repositoryId(PortableServer::Servant servant);

}  // namespace kelp::orb
