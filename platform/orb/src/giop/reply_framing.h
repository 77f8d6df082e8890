#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace kelp::orb::giop {

/// Follows the messages that arrive on an outgoing connection, octet by octet as they come
/// (CORBA 15.4). Pure; not thread safe.
class ReplyFraming {
  public:
    /// False from the first message on that a server may not send, or that is too short for its
    /// kind: the ORB reads the number of a request without a look at the size.
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
