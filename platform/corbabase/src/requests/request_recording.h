#pragma once

#include <kelp/orb/request.h>

namespace NS_CORBA {

/// Records the calling thread's requests in the operation log. A request without a log-in, as
/// CallerStanding judges it, goes to the separate part of the log. Requests may be nested, because
/// an ORB may serve others while a servant waits for a reply; an operation applies to the request
/// begun last.
class RequestRecording {
  public:
    /// Begin a request. It is not recorded unless want() is called.
    static void begin();
    /// Request a record of the request begun last. Does nothing outside a request.
    static void want();
    /// End the request begun last and write its record if one was requested.
    static void end(const kelp::orb::RequestInfo& request, const CORBA::Exception* raised) noexcept;
    /// End the request begun last without a record.
    static void drop() noexcept;
    /// Write a record for a request that reached no servant, without begin(). `answer` may be null:
    /// not known. The record names the NMS that owns the target's session only if the request
    /// carries the secret of the session; somebody who guesses a reference does not act in that
    /// NMS's name.
    static void writeUndelivered(const kelp::orb::RequestInfo& request,
                                 const CORBA::Exception* answer) noexcept;
    /// Write the security record of a call on another NMS's session.
    static void writeForeign(const kelp::orb::RequestInfo& request,
                             const CORBA::Exception& answer) noexcept;
    /// Write the security record of an NMS that wanted another's object in the notification
    /// channel.
    static void writeNotOwn(const kelp::orb::RequestInfo& request,
                            const CORBA::Exception& answer) noexcept;
    /// Write the security record of a caller from a network that may not call, or may not use the
    /// notification channel. `answer` is the exception that the caller got; null for none.
    static void writeRefused(const kelp::orb::RequestInfo& request,
                             const CORBA::Exception* answer) noexcept;
    /// Write the security record of a request beyond the limit for addresses without a log-in.
    static void writeTooMany(const kelp::orb::RequestInfo& request) noexcept;

    /// True for a target among the objects of a session.
    static bool isOfSession(const kelp::orb::RequestInfo& request);
};

}  // namespace NS_CORBA
