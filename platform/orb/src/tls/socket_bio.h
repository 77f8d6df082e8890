#pragma once

#include "owned.h"

namespace kelp::orb {

/// The TLS library's way to a socket: it never waits, whatever the socket's mode, and raises no
/// signal when the peer is gone. The descriptor is borrowed.
OwnedBio makeSocketBio(int descriptor);

}  // namespace kelp::orb
