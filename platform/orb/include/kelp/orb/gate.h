#pragma once

#include <kelp/orb/export.h>
#include <kelp/orb/request.h>

#include <chrono>
#include <cstddef>
#include <string_view>

namespace kelp::orb {

/// Limits of the gate: the transport of this product that stands between the ORB and whoever
/// connects. No usual caller reaches any of them.
struct KELP_EXPORT GateLimits {
    /// Connections of all endpoints together. Never more than half of the descriptors that the
    /// process may have, so that files and outgoing calls always find some.
    unsigned connectionsMax = 2000;
    unsigned connectionsPerAddressMax = 500;
    /// Of all connections, those kept for addresses that somebody is logged in from.
    unsigned connectionsReserved = 200;
    /// Memory of all connections together for input that the ORB has not read yet, in bytes.
    std::size_t unfinishedBytesMax = 268435456;
    /// Longest message, fragments included, from an address that nobody is logged in from, in
    /// bytes.
    std::size_t messageBytesBeforeLogin = 65536;
    /// A new connection's first header arrives within this time, any other within as much of its
    /// first octet.
    std::chrono::milliseconds headerTimeout{10000};
    /// An unfinished message continues at least at this rate, in bytes a second.
    std::size_t inputRateMin = 1024;
    /// LocateRequests a second from one address, logged in or not.
    unsigned locatesPerSecond = 1000;
    unsigned locatesPerSecondBeforeLogin = 100;
    /// TLS handshakes in progress, of all endpoints together and from one address. One more takes
    /// the place of one that has been in progress for 3 s, or is refused.
    unsigned tlsHandshakesMax = 400;
    unsigned tlsHandshakesPerAddressMax = 100;
};

/// Who may connect, and who hears about refusals. Called from many threads at once, some of which
/// serve all connections of an endpoint: it must neither wait for a disk or a network nor throw.
/// Outlives the ORB.
class KELP_EXPORT GatePolicy {
  public:
    virtual ~GatePolicy();
    /// Whether this address may connect at all. Asked for each new connection.
    virtual bool admits(const PeerAddress& peer) = 0;
    /// Whether somebody is logged in from this address.
    virtual bool isLoggedIn(const PeerAddress& peer) = 0;
    /// A connection was closed, or not accepted, for this reason: a few words without the address.
    virtual void refused(const PeerAddress& peer, std::string_view reason) = 0;
    /// A connection that was admitted has ended.
    virtual void ended(const PeerAddress&) {}
};

}  // namespace kelp::orb
