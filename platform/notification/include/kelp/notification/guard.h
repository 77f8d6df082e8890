#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/request.h>
#include <kelp/util/export.h>

#include <string>
#include <vector>

namespace kelp::notification {

/// A log-in as a channel knows it. It owns the objects that are created over its connections.
struct KELP_EXPORT LogIn {
    std::string id;    ///< unique among all log-ins; never empty
    std::string name;  ///< for messages
};

/// Decides who may use a channel over connections, and who owns the objects in it.
class KELP_EXPORT Guard {
  public:
    virtual ~Guard() = default;
    /// Whether callers at this peer's address may use the channel now. The port does not matter,
    /// because an NMS may have its consumers in another process than its session. Called for each
    /// request over a connection, on the request's thread, and in each review. Must answer without
    /// waiting and must not throw.
    virtual bool mayUse(const kelp::util::PeerAddress& peer) const = 0;
    /// Whether the channel may call this reference, which the current request passes: a consumer, a
    /// supplier or the callback of a filter, never nil. Called on the request's thread, only for
    /// requests over connections. Must neither call the reference nor throw.
    virtual bool mayCall(CORBA::Object_ptr) const { return true; }
    /// Whether callers at this address may be suppliers. Called like mayUse().
    virtual bool maySupply(const kelp::util::PeerAddress&) const { return false; }
    /// The log-ins that the request's connection is known to belong to, the latest first. Empty if
    /// only the address is known. Such a caller may use any object of a log-in at its address if it
    /// knows the object's key. Called like mayUse().
    virtual std::vector<LogIn> logInsOf(const kelp::orb::RequestInfo&) const { return {}; }
    /// Whether this log-in has not ended. `id` was returned by logInsOf() before. Called like
    /// mayUse().
    virtual bool isLive(const std::string&) const { return true; }
};

}  // namespace kelp::notification
