#include "giop/message_header.h"

#include <algorithm>
#include <array>

namespace kelp::orb::giop {

namespace {

constexpr std::array<std::uint8_t, 4> kMagic{'G', 'I', 'O', 'P'};
constexpr std::uint8_t kMinorMax = 2;

bool isOfClient(MessageType type, std::uint8_t minor) {
    switch (type) {
        case MessageType::Request:
        case MessageType::CancelRequest:
        case MessageType::LocateRequest:
        case MessageType::MessageError:
        // clients may send it from 1.2 on; harmless in older versions
        case MessageType::CloseConnection:
            return true;
        case MessageType::Fragment:
            return minor >= 1;
        case MessageType::Reply:
        case MessageType::LocateReply:
            return false;
    }
    return false;
}

/// Return whether a message may have fragments: Requests from 1.1 on, LocateRequests from 1.2 on.
bool mayHaveFragments(MessageType type, std::uint8_t minor) {
    switch (type) {
        case MessageType::Request:
        case MessageType::Fragment:
            return minor >= 1;
        case MessageType::LocateRequest:
            return minor >= 2;
        default:
            return false;
    }
}

}  // namespace

std::uint32_t numberAt(Octets octets, std::size_t at, bool littleEndian) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << 8 | octets[at + (littleEndian ? 3 - i : i)];
    return value;
}

void putNumber(std::span<std::uint8_t> octets, std::size_t at, std::uint32_t value,
               bool littleEndian) {
    for (std::size_t i = 0; i < 4; ++i) {
        octets[at + (littleEndian ? i : 3 - i)] = static_cast<std::uint8_t>(value & 0xff);
        value >>= 8;
    }
}

Violation readHeader(Octets octets, MessageHeader& header) {
    if (!std::equal(kMagic.begin(), kMagic.end(), octets.begin()))
        return Violation::NotGiop;
    header.minor = octets[5];
    if (octets[4] != 1 || header.minor > kMinorMax)
        return Violation::Version;
    const std::uint8_t flags = octets[kFlagsAt];
    const std::uint8_t known =
        header.minor == 0 ? kLittleEndianFlag : kLittleEndianFlag | kMoreFragmentsFlag;
    if ((flags & ~known) != 0)
        return Violation::Flags;
    header.littleEndian = (flags & kLittleEndianFlag) != 0;
    header.moreFragments = (flags & kMoreFragmentsFlag) != 0;
    header.type = static_cast<MessageType>(octets[7]);
    if (octets[7] > static_cast<std::uint8_t>(MessageType::Fragment) ||
        !isOfClient(header.type, header.minor))
        return Violation::Type;
    if (header.moreFragments && !mayHaveFragments(header.type, header.minor))
        return Violation::Flags;
    header.octets = std::uint64_t{numberAt(octets, kSizeAt, header.littleEndian)} + kHeaderOctets;
    return Violation::None;
}

}  // namespace kelp::orb::giop
