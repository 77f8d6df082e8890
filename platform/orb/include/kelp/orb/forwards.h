#pragma once

#include <kelp/orb/export.h>
#include <kelp/orb/references.h>
#include <kelp/orb/request.h>

namespace kelp::orb {

/// Decides where a peer that is called may forward the call to (LOCATION_FORWARD).
class KELP_EXPORT ForwardCheck {
  public:
    virtual ~ForwardCheck() = default;
    /// Asked for each address of the reference in the reply, on the calling thread. Must not throw,
    /// and must not make calls.
    virtual bool mayFollow(const PeerAddress& from, const Endpoint& to) const = 0;
};

/// The check for all calls of the process from here on; it must outlive them. Null, as before the
/// first call: a peer may forward to its own address alone. Whatever the check says, no call is
/// forwarded to an object of this process, and none more than a few times.
KELP_EXPORT void checkForwards(const ForwardCheck* check);

}  // namespace kelp::orb
