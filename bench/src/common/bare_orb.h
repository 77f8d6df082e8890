#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/orb.h>

#include <string>

namespace kelp::bench {

/// Starts the ORB alone with the options that the product gives its own, without the ORB port above
/// it. The caller destroys it. Throws CORBA::INITIALIZE.
CORBA::ORB_ptr startBareOrb(const std::string& program, const orb::OrbOptions& options);

}  // namespace kelp::bench
