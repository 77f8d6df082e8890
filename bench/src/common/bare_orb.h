#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/orb.h>

#include <string>

namespace kelp::bench {

/// Start the ORB with the options that the product uses, but without the product's ORB port on top
/// of it. The caller destroys the ORB. Throws CORBA::INITIALIZE.
CORBA::ORB_ptr startBareOrb(const std::string& program, const orb::OrbOptions& options);

}  // namespace kelp::bench
