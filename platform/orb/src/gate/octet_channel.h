#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace kelp::orb::gate {

/// The octets of one connection, as they are for GIOP: over TLS, the decrypted ones. One thread at
/// a time receives; any number may send, and the last operations may be called at any time.
class OctetChannel {
  public:
    virtual ~OctetChannel() = default;

    /// What receive() and send() give back instead of a count.
    static constexpr long kLater = 0;  ///< nothing can be done without waiting, or the time is over
    static constexpr long kEnded = -1;  ///< the peer has closed, or the connection is broken

    enum class Wait { No, Yes };
    /// Receives what there is, at most as many octets as fit. Yes waits for the first one, without
    /// a limit: shutDown() ends that.
    virtual long receive(std::span<std::uint8_t> into, Wait wait) = 0;
    /// Whether octets have been read from the socket that receive() has not given yet. The socket
    /// says nothing of them.
    virtual bool hasBuffered() const { return false; }
    /// Sends some octets and waits at most this long for the peer to take the first.
    virtual long send(std::span<const std::uint8_t> octets, std::chrono::milliseconds limit) = 0;
    /// Ends the connection for both sides; a waiting receive() or send() returns. The socket stays
    /// open until the end of this object.
    virtual void shutDown() = 0;
    virtual int descriptor() const = 0;
    /// Over TLS, the peer's certificate as the TLS library has it, owned by this object; else null.
    virtual void* peerDetails() const { return nullptr; }
};

}  // namespace kelp::orb::gate
