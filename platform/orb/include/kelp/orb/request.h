#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/export.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace kelp::orb {

/// One end of a connection, as numbers of the address family it has. Addresses are in host byte
/// order.
struct KELP_EXPORT PeerAddress {
    std::string text;        ///< the address without port and brackets; IPv4-mapped IPv6 as IPv4
    std::uint16_t port = 0;  ///< 0 when unknown
    std::uint32_t ipv4 = 0;  ///< 0 when the peer has no IPv4 address
    std::optional<std::string>
        ipv6;              ///< 16 bytes, network order, for a peer with a real IPv6 address
    std::string withPort;  ///< "192.0.2.1:48958", "[2001:db8::1]:48958"; empty when unknown
};

/// Parses the transport's own peer text ("giop:tcp:127.0.0.1:48958", "giop:ssl:[::1]:53430",
/// "giop:tcp:[::ffff:127.0.0.1]:42538"). An unreadable text gives an empty address.
KELP_EXPORT PeerAddress parsePeer(const std::string& transportText);

/// The address of a numeric host text, as it stands in references, without a port. An empty address
/// for anything else, such as a host name.
KELP_EXPORT PeerAddress parseHostAddress(const std::string& host);

/// What counts as one caller where callers are counted: the IPv4 address, or the network of an IPv6
/// address's first 64 bits ("2001:db8:0:1::/64"), of which a host may choose the others as it likes
/// (RFC 4291). Empty for an empty address.
KELP_EXPORT std::string networkOf(const PeerAddress& peer);

/// What is known of a request before and while its servant runs. Valid on the thread that serves
/// it.
class KELP_EXPORT RequestInfo {
  public:
    virtual ~RequestInfo() = default;
    /// The operation's name; the caller frees it (CORBA::string_free), as with the standard request
    /// info.
    virtual char* operation() const = 0;
    /// The same, borrowed.
    virtual const std::string& operationName() const = 0;
    virtual const PeerAddress& peer() const = 0;
    /// The subject of the certificate that the peer has proved to hold, as RFC 4514 has it:
    /// "CN=nms1,O=Operator". Empty without TLS, for a peer without a certificate, and for a subject
    /// longer than 2 KiB.
    virtual const std::string& peerSubject() const = 0;
    /// Name of the root POA's child that the target lives under; empty for an object outside the
    /// POA tree.
    virtual const std::string& topPoaName() const = 0;
    /// Name of the POA below that one which the target lives under; empty when it lives in the
    /// former itself.
    virtual const std::string& childPoaName() const = 0;
    /// The target's object id, as bytes; for a well-known key the key; empty where it could not be
    /// told.
    virtual const std::string& objectId() const = 0;
    /// When the request was read from its connection.
    virtual std::chrono::system_clock::time_point arrived() const = 0;
    /// How long ago that was; not touched by steps of the wall clock.
    virtual std::chrono::microseconds age() const = 0;
};

/// The request being served by the calling thread, from RequestHook::received() to finished(), or
/// null outside one. Borrowed until the servant returns; the address is the one that the hook gets.
/// Calls without a peer (in-process calls) do not change it.
KELP_EXPORT const RequestInfo* currentRequest();

/// The peer of the request being served by the calling thread; an empty address outside one.
KELP_EXPORT PeerAddress currentPeer();

/// RequestInfo::peerSubject() of that request; empty outside one.
KELP_EXPORT std::string currentPeerSubject();

/// Gets every request that arrives over a connection, on the thread that will run the servant.
/// The first two operations may throw CORBA system exceptions; the caller gets them as they are, so
/// throw them completed NO. Any other exception is traced and becomes CORBA::UNKNOWN, completed NO.
/// A request that is refused, or whose target is not found, goes no further: dispatching() follows
/// received() only for a known target, finished() follows every dispatching() that returned. A
/// request that passed received() and reaches no servant ends with undelivered().
class KELP_EXPORT RequestHook {
  public:
    virtual ~RequestHook();
    /// Before the target is looked up; also for unknown objects and while requests are held.
    virtual void received(const RequestInfo& request) = 0;
    /// The target is known and the servant is about to run.
    virtual void dispatching(const RequestInfo& request) = 0;
    /// The servant has returned (`raised` is null) or thrown; what is no CORBA exception counts as
    /// UNKNOWN. Must not throw.
    virtual void finished(const RequestInfo& request, const CORBA::Exception* raised) noexcept = 0;
    /// The ORB has answered with a system exception itself: there is no such object or operation,
    /// its arguments are unreadable, a servant manager refused. Null for a oneway request, which
    /// nobody answers; of those it may be told only when the thread serves its next request. Must
    /// not throw.
    virtual void undelivered(const RequestInfo& request, const CORBA::Exception* answer) noexcept;
};

}  // namespace kelp::orb
