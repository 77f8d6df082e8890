#pragma once

#include <kelp/orb/corba.h>

#include <string>

namespace kelp::nms {

/// Return the reason why a call failed: the exception, and, if the server's certificate was
/// refused, why it was refused.
std::string failureText(const CORBA::Exception& raised);

}  // namespace kelp::nms
