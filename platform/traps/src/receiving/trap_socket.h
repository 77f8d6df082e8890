#pragma once

#include <kelp/util/descriptor.h>
#include <kelp/util/peer_address.h>
#include <sys/socket.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kelp::traps {

/// A datagram, and who sent it.
struct Datagram {
    std::span<const std::uint8_t> octets;  ///< valid until the next call
    util::PeerAddress from;
    std::string back;  ///< the sender's address as TrapSocket::send() takes it
};

/// A UDP socket. One thread at a time may use it.
class TrapSocket {
  public:
    /// Open a socket at "address:port" or "[address]:port". Throws std::runtime_error with the
    /// address and the reason.
    explicit TrapSocket(const std::string& listen);

    int descriptor() const { return socket_.get(); }
    std::uint16_t port() const;
    /// The next datagram, without waiting; nothing if there is none. `buffer` holds its octets.
    std::optional<Datagram> receive(std::vector<std::uint8_t>& buffer);
    /// Send, without waiting. What cannot be sent is lost, as any datagram may be.
    void send(const std::string& back, std::span<const std::uint8_t> octets);

  private:
    util::Descriptor socket_;
};

}  // namespace kelp::traps
