#pragma once

#include <kelp/orb/request.h>

namespace NS_CORBA {

/// Whether the caller of the calling thread's current request is logged in. A caller counts as
/// logged in when an NMS is logged in from its address; so does a caller inside the process. While
/// the caller is not logged in, the trace lines of the thread are limited.
class CallerStanding {
  public:
    /// A request has arrived: look up its caller. True when the caller is logged in.
    static bool arrive(const kelp::orb::RequestInfo& request);
    /// The request has reached an object of a session. Only the session's NMS knows its objects, so
    /// the caller counts as logged in, even from another address.
    static void knowsSession();
    /// Return what arrive() found for this request. If that was false, or if the request did not
    /// arrive on this thread, look the caller up again: the request may itself have been the
    /// log-in.
    static bool isLoggedIn(const kelp::orb::RequestInfo& request);
    /// The request has ended.
    static void leave() noexcept;
};

}  // namespace NS_CORBA
