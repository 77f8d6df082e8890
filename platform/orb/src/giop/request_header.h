#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "giop/message_header.h"

namespace kelp::orb::giop {

/// The position of each part of a Request or LocateRequest (CORBA 15.4.2, 15.4.6). Refers to the
/// message without copying it.
struct RequestHeader {
    std::uint32_t id = 0;
    std::string_view operation;  ///< empty in a LocateRequest
    Octets key;  ///< the target's object key, taken from the profile if the target is one
    /// Whether the target is a profile or a whole reference (GIOP 1.2). It extends from targetAt to
    /// targetEnd.
    bool namesProfile = false;
    std::size_t targetAt = 0;
    std::size_t targetEnd = 0;
    std::size_t headerEnd = 0;  ///< before the padding of the body
    std::size_t body = 0;       ///< offset of the parameters; the message's size if there are none
};

/// Read and check the header of a complete Request or LocateRequest: every length is within bounds,
/// the operation is a name, and the target has a key.
Violation readRequestHeader(Octets message, const MessageHeader& header, RequestHeader& request);

}  // namespace kelp::orb::giop
