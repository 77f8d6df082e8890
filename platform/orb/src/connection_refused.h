#pragma once

#include <kelp/orb/corba.h>

namespace kelp::orb {

/// Did this ORB raise the exception because no connection could be made (the port is closed, the host
/// unknown)? The same exception from a server that answers, one that is not ready yet, is another matter.
bool isConnectionRefused(const CORBA::TRANSIENT& exception);

}  // namespace kelp::orb
