#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/request.h>
#include <kelp/util/export.h>

#include <string>
#include <vector>

namespace kelp::notification {

/// One log-in as a channel knows it: the owner of what is made over its connections.
struct KELP_EXPORT LogIn {
    std::string id;    ///< tells it apart from every other; never empty
    std::string name;  ///< for messages
};

/// Who may use a channel over connections, and whose the objects in it are.
class KELP_EXPORT Guard {
  public:
    virtual ~Guard() = default;
    /// Whether callers at this peer's address may use the channel now; its port does not matter,
    /// since an NMS may have its consumers in another process than its session. Asked for each
    /// request that arrives over a connection, on the request's thread, and with each review: to be
    /// answered without waiting for anybody. Must not throw.
    virtual bool mayUse(const kelp::orb::PeerAddress& peer) const = 0;
    /// Whether the channel may call this reference, not nil, which the request in hand brings: a
    /// consumer, a supplier, the callback of a filter. Asked on the request's thread, for requests
    /// over connections only. Must neither call it nor throw.
    virtual bool mayCall(CORBA::Object_ptr) const { return true; }
    /// Whether callers at this address may be suppliers. Asked like mayUse().
    virtual bool maySupply(const kelp::orb::PeerAddress&) const { return false; }
    /// The log-ins that the request's connection is known to belong to, the latest first. Empty:
    /// its address alone is known, and the caller is taken for any of its log-ins whose object's
    /// key it knows. Asked like mayUse().
    virtual std::vector<LogIn> logInsOf(const kelp::orb::RequestInfo&) const { return {}; }
    /// Whether this log-in, once among logInsOf(), has not ended. Asked like mayUse().
    virtual bool isLive(const std::string&) const { return true; }
};

}  // namespace kelp::notification
