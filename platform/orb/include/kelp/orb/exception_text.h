#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/export.h>

#include <string>

namespace kelp::orb {

/// A CORBA exception in one readable line: "TRANSIENT (minor 0x41540002, completed NO)"; a user
/// exception gives its name.
KELP_EXPORT std::string exceptionText(const CORBA::Exception& exception);

}  // namespace kelp::orb
