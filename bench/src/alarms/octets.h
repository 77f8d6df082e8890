#pragma once

#include <stdexcept>
#include <string_view>

#include "giop/message_header.h"

namespace kelp::bench {

inline orb::giop::Octets octetsOf(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// Read the header of a GIOP message of at least 12 octets. Throws std::runtime_error if it is
/// none.
inline orb::giop::MessageHeader headerOf(std::string_view message) {
    orb::giop::MessageHeader header;
    if (readHeader(octetsOf(message), header) != orb::giop::Violation::None)
        throw std::runtime_error("this is no GIOP");
    return header;
}

}  // namespace kelp::bench
