#pragma once

#include <kelp/orb/request.h>

namespace NS_CORBA {

/// The request that the calling thread serves, on its way into the operation log: into the part for
/// callers without a log-in, if CallerStanding says that its caller is one. Requests may be nested
/// where an ORB serves others while a servant waits for a reply: a scope belongs to the one begun
/// last.
class RequestRecording {
  public:
    /// A request begins; it is not to be recorded yet.
    static void begin();
    /// The request begun last is to be recorded. Nothing outside a request.
    static void want();
    /// The request begun last has ended: its record is written if one is wanted.
    static void end(const kelp::orb::RequestInfo& request, const CORBA::Exception* raised) noexcept;
    /// The request begun last leaves no record.
    static void drop() noexcept;
    /// A record without a scope, for a request that reached no servant. `answer` may be null: not
    /// known. It names the NMS whose session the target belongs to only if the request knows the
    /// session's secret: whoever guesses does not act in that NMS's name.
    static void writeUndelivered(const kelp::orb::RequestInfo& request,
                                 const CORBA::Exception* answer) noexcept;
    /// The security log's record of a call on somebody else's session.
    static void writeForeign(const kelp::orb::RequestInfo& request,
                             const CORBA::Exception& answer) noexcept;
    /// The security log's record of an NMS that wants what is not its own in the notification
    /// channel.
    static void writeNotOwn(const kelp::orb::RequestInfo& request,
                            const CORBA::Exception& answer) noexcept;
    /// The security log's record of a caller from a network that may not call, or may not use the
    /// notification channel, with what he was answered; null for nothing.
    static void writeRefused(const kelp::orb::RequestInfo& request,
                             const CORBA::Exception* answer) noexcept;
    /// The security log's record of one request too many from an address without a log-in.
    static void writeTooMany(const kelp::orb::RequestInfo& request) noexcept;

    /// True for a target that lives among the objects of a session.
    static bool isOfSession(const kelp::orb::RequestInfo& request);
};

}  // namespace NS_CORBA
