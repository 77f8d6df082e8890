#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/request.h>
#include <kelp/util/export.h>

namespace kelp::notification {

/// Who may use a channel over connections.
class KELP_EXPORT Guard {
  public:
    virtual ~Guard() = default;
    /// Whether callers at this peer's address may use the channel now; its port does not matter, since an NMS
    /// may have its consumers in another process than its session. Asked for each request that arrives over a
    /// connection, on the request's thread, and with each review: to be answered without waiting for anybody.
    /// Must not throw.
    virtual bool mayUse(const kelp::orb::PeerAddress& peer) const = 0;
    /// Whether the channel may call this reference, not nil, which the request in hand brings: a consumer, a
    /// supplier, the callback of a filter. Asked on the request's thread, for requests over connections only.
    /// Must neither call it nor throw.
    virtual bool mayCall(CORBA::Object_ptr) const { return true; }
};

}  // namespace kelp::notification
