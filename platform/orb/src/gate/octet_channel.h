#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace kelp::orb::gate {

/// The GIOP octets of one connection; over TLS, the decrypted ones. One thread at a time receives.
/// Any number of threads may send. shutDown(), descriptor() and peerDetails() may be called at any
/// time.
class OctetChannel {
  public:
    virtual ~OctetChannel() = default;

    /// What receive() and send() return instead of a count.
    static constexpr long kLater = 0;   ///< it would have to wait, or the time-out has passed
    static constexpr long kEnded = -1;  ///< the peer has closed, or the connection is broken

    enum class Wait { No, Yes };
    /// Receive what has arrived, at most as many octets as fit. Yes waits for the first octet
    /// without a time-out; shutDown() ends the wait.
    virtual long receive(std::span<std::uint8_t> into, Wait wait) = 0;
    /// Return whether octets were read from the socket that receive() has not returned yet. The
    /// socket does not report these any more.
    virtual bool hasBuffered() const { return false; }
    /// Send some octets. Wait at most `limit` for the peer to accept the first.
    virtual long send(std::span<const std::uint8_t> octets, std::chrono::milliseconds limit) = 0;
    /// End the connection in both directions. A waiting receive() or send() returns. The socket
    /// stays open until this object is destroyed.
    virtual void shutDown() = 0;
    virtual int descriptor() const = 0;
    /// Return the peer's certificate over TLS, as the TLS library represents it; otherwise null.
    /// This object owns it.
    virtual void* peerDetails() const { return nullptr; }
};

}  // namespace kelp::orb::gate
