#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "giop/violation.h"

namespace kelp::orb::giop {

using Octets = std::span<const std::uint8_t>;

/// Message types (CORBA 15.4.1), with their numbers.
enum class MessageType : std::uint8_t {
    Request,
    Reply,
    CancelRequest,
    LocateRequest,
    LocateReply,
    CloseConnection,
    MessageError,
    Fragment
};

constexpr std::size_t kHeaderOctets = 12;
/// Offset of the flags in a header, and the meaning of their bits.
constexpr std::size_t kFlagsAt = 6;
constexpr std::uint8_t kLittleEndianFlag = 1;
constexpr std::uint8_t kMoreFragmentsFlag = 2;
constexpr std::size_t kSizeAt = 8;

/// The first 12 octets of a message (CORBA 15.4.1).
struct MessageHeader {
    std::uint8_t minor = 0;  ///< of GIOP 1.x
    bool littleEndian = false;
    bool moreFragments = false;
    MessageType type = MessageType::MessageError;
    std::uint64_t octets = 0;  ///< of the whole message, including the header
};

/// Read and check a header: the magic, a version from 1.0 to 1.2, the flags, and a type that a
/// client may send in that version. `octets` holds at least 12.
Violation readHeader(Octets octets, MessageHeader& header);

/// Read a number of four octets in the byte order of its message.
std::uint32_t numberAt(Octets octets, std::size_t at, bool littleEndian);
void putNumber(std::span<std::uint8_t> octets, std::size_t at, std::uint32_t value,
               bool littleEndian);

}  // namespace kelp::orb::giop
