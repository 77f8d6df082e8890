#pragma once

#include <kelp/orb/export.h>
#include <kelp/orb/references.h>
#include <kelp/orb/request.h>

namespace kelp::orb {

/// Decides to which addresses a called peer may forward a call (LOCATION_FORWARD).
class KELP_EXPORT ForwardCheck {
  public:
    virtual ~ForwardCheck() = default;
    /// Return whether the peer at `from` may forward the call to `to`. Called for each address of
    /// the reference in the reply, on the calling thread. Must not throw, and must not make calls.
    virtual bool mayFollow(const util::PeerAddress& from, const Endpoint& to) const = 0;
};

/// Set the check for all calls of the process from now on. It must outlive them. With null, the
/// initial state, a peer may forward a call only to its own address. Whatever the check says, a
/// call is never forwarded to an object of this process, nor more than three times.
KELP_EXPORT void checkForwards(const ForwardCheck* check);

}  // namespace kelp::orb
