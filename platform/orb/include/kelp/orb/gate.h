#pragma once

#include <kelp/orb/export.h>
#include <kelp/orb/request.h>

#include <chrono>
#include <cstddef>
#include <string_view>

namespace kelp::orb {

/// Limits of the gate, the product's own transport between the ORB and connecting clients. Ordinary
/// clients do not reach any of them.
struct KELP_EXPORT GateLimits {
    /// Maximum connections of all endpoints together. Capped at half of the process's descriptor
    /// limit, so that files and outgoing calls always find a free descriptor.
    unsigned connectionsMax = 2000;
    unsigned connectionsPerAddressMax = 500;
    /// The part of connectionsMax that is reserved for addresses with a log-in.
    unsigned connectionsReserved = 200;
    /// Maximum memory, in bytes, for input that the ORB has not read yet, of all connections
    /// together.
    std::size_t unfinishedBytesMax = 268435456;
    /// Maximum size in bytes of a message, including its fragments, from an address without a
    /// log-in.
    std::size_t messageBytesBeforeLogin = 65536;
    /// Maximum time for a message header to arrive. It counts from the accept for the first header
    /// of a connection, and from the header's first octet for any later one.
    std::chrono::milliseconds headerTimeout{10000};
    /// Minimum rate, in bytes per second, at which the rest of an unfinished message must arrive.
    std::size_t inputRateMin = 1024;
    /// Maximum LocateRequests per second from one address: with a log-in, and without one.
    unsigned locatesPerSecond = 1000;
    unsigned locatesPerSecondBeforeLogin = 100;
    /// Maximum TLS handshakes in progress, of all endpoints together and from one address. At the
    /// limit, a further handshake replaces the oldest one if that has been in progress for 3 s.
    /// Otherwise the further one is refused.
    unsigned tlsHandshakesMax = 400;
    unsigned tlsHandshakesPerAddressMax = 100;
};

/// Decides who may connect, and is notified of refusals. Called from many threads at once. Some of
/// them serve all connections of an endpoint, so an implementation must neither wait for a disk or
/// a network nor throw. It must outlive the ORB.
class KELP_EXPORT GatePolicy {
  public:
    virtual ~GatePolicy();
    /// Return whether this address may connect at all. Called for each new connection.
    virtual bool admits(const util::PeerAddress& peer) = 0;
    /// Return whether somebody is logged in from this address.
    virtual bool isLoggedIn(const util::PeerAddress& peer) = 0;
    /// A connection was closed or not accepted. `reason` is a short phrase without the address.
    virtual void refused(const util::PeerAddress& peer, std::string_view reason) = 0;
    /// An admitted connection has ended.
    virtual void ended(const util::PeerAddress&) {}
};

}  // namespace kelp::orb
