#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/export.h>
#include <kelp/util/peer_address.h>

#include <chrono>
#include <string>

namespace kelp::orb {

/// Parse the transport's text for a peer ("giop:tcp:127.0.0.1:48958", "giop:ssl:[::1]:53430",
/// "giop:tcp:[::ffff:127.0.0.1]:42538"). An unreadable text gives an empty address.
KELP_EXPORT util::PeerAddress parsePeer(const std::string& transportText);

/// What is known about a request before and while its servant runs. Valid on the thread that serves
/// the request.
class KELP_EXPORT RequestInfo {
  public:
    virtual ~RequestInfo() = default;
    /// Return the operation's name. The caller frees it with CORBA::string_free, as with the
    /// standard request info.
    virtual char* operation() const = 0;
    /// Return the same name, borrowed.
    virtual const std::string& operationName() const = 0;
    virtual const util::PeerAddress& peer() const = 0;
    /// Return the subject of the certificate that the peer has proved to hold, in the form of RFC
    /// 4514: "CN=nms1,O=Operator". Empty without TLS, for a peer without a certificate, and for a
    /// subject longer than 2 KiB.
    virtual const std::string& peerSubject() const = 0;
    /// Return the name of the root POA's child under which the target lives. Empty for an object
    /// outside the POA tree.
    virtual const std::string& topPoaName() const = 0;
    /// Return the name of the POA directly below the top POA under which the target lives. Empty
    /// when the target lives in the top POA itself.
    virtual const std::string& childPoaName() const = 0;
    /// Return the target's object id as bytes. For a well-known key it is the key. Empty when it is
    /// unknown.
    virtual const std::string& objectId() const = 0;
    /// Return when the request was read from its connection.
    virtual std::chrono::system_clock::time_point arrived() const = 0;
    /// Return the time since arrived(). Changes of the wall clock do not affect it.
    virtual std::chrono::microseconds age() const = 0;
};

/// Return the request that the calling thread serves, from RequestHook::received() to finished();
/// null outside one. Borrowed until the servant returns. It is the object that the hook receives.
/// In-process calls, which have no peer, do not change it.
KELP_EXPORT const RequestInfo* currentRequest();

/// Return the peer of the request that the calling thread serves; an empty address outside one.
KELP_EXPORT util::PeerAddress currentPeer();

/// Return RequestInfo::peerSubject() of the request that the calling thread serves; empty outside
/// one.
KELP_EXPORT std::string currentPeerSubject();

/// Receives every request that arrives over a connection, on the thread that will run the servant.
/// The first two operations may throw CORBA system exceptions. The caller gets them unchanged, so
/// throw them with completed NO. Any other exception is traced and becomes CORBA::UNKNOWN,
/// completed NO.
///
/// A request that is refused, or whose target is not found, goes no further. dispatching() follows
/// received() only for a known target. finished() follows every dispatching() that returned. A
/// request that passed received() and reaches no servant ends with undelivered().
class KELP_EXPORT RequestHook {
  public:
    virtual ~RequestHook();
    /// Called before the target is looked up, also for unknown objects and while requests are held.
    virtual void received(const RequestInfo& request) = 0;
    /// Called when the target is known and the servant is about to run.
    virtual void dispatching(const RequestInfo& request) = 0;
    /// Called after the servant has returned (`raised` is null) or thrown. An exception that is not
    /// a CORBA exception is reported as UNKNOWN. Must not throw.
    virtual void finished(const RequestInfo& request, const CORBA::Exception* raised) noexcept = 0;
    /// Called when the ORB itself has answered with a system exception: the object or operation
    /// does not exist, the arguments are unreadable, or a servant manager refused. `answer` is null
    /// for a oneway request, which has no reply. The call for a oneway request may be delayed until
    /// the thread serves its next request. Must not throw.
    virtual void undelivered(const RequestInfo& request, const CORBA::Exception* answer) noexcept;
};

}  // namespace kelp::orb
