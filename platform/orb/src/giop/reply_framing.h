#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace kelp::orb::giop {

/// Checks the framing of the messages that arrive on an outgoing connection (CORBA 15.4). Their
/// octets may arrive in pieces of any size. Makes no system calls and needs no ORB. Not thread
/// safe.
class ReplyFraming {
  public:
    /// Return false from the first message on that a server may not send, or that is too short for
    /// its type. The ORB reads a request's id without checking the size.
    bool accepts(std::span<const std::uint8_t> octets);

  private:
    static constexpr std::size_t headerOctets = 12;

    bool acceptsHeader();

    std::array<std::uint8_t, headerOctets> header_{};
    std::size_t headerRead_ = 0;
    std::size_t bodyLeft_ = 0;
    bool isBroken_ = false;
};

}  // namespace kelp::orb::giop
