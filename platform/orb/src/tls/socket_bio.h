#pragma once

#include "owned.h"

namespace kelp::orb {

/// Make the object through which the TLS library uses a socket. It never waits, whatever the
/// socket's mode, and raises no signal when the peer is gone. The descriptor is borrowed.
OwnedBio makeSocketBio(int descriptor);

}  // namespace kelp::orb
