#pragma once

#include <kelp/orb/corba.h>

#include <string>

namespace kelp::nms {

/// Why a call failed, for a message: the exception, and why the server's certificate was refused if
/// that is what kept the call from being made.
std::string failureText(const CORBA::Exception& raised);

}  // namespace kelp::nms
