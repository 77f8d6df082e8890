#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/export.h>

#include <string>

namespace kelp::orb {

/// Return a CORBA exception as one readable line. For a system exception: "TRANSIENT (minor
/// 0x41540002, completed NO)". For a user exception: its name.
KELP_EXPORT std::string exceptionText(const CORBA::Exception& exception);

}  // namespace kelp::orb
