#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "giop/message_header.h"

namespace kelp::orb::giop {

/// Where the parts of a Request or LocateRequest stand (CORBA 15.4.2, 15.4.6). Refers to the
/// message.
struct RequestHeader {
    std::uint32_t id = 0;
    std::string_view operation;  ///< empty in a LocateRequest
    Octets key;  ///< the target's object key, out of the profile where the target names one
    /// The target is a profile or a whole reference (GIOP 1.2); it stands from targetAt to
    /// targetEnd.
    bool namesProfile = false;
    std::size_t targetAt = 0;
    std::size_t targetEnd = 0;
    std::size_t headerEnd = 0;  ///< before the padding of the body
    std::size_t body = 0;  ///< where the parameters begin; the message's size if there are none
};

/// Reads and checks the header of a complete Request or LocateRequest: every length in bounds, an
/// operation that is a name, a target with a key.
Violation readRequestHeader(Octets message, const MessageHeader& header, RequestHeader& request);

}  // namespace kelp::orb::giop
