#include "giop/key_address.h"

#include <array>

namespace kelp::orb::giop {

namespace {

bool alignTo(OctetBuffer& buffer, std::size_t alignment) {
    return buffer.appendZeros((alignment - buffer.size() % alignment) % alignment);
}

bool appendNumber(OctetBuffer& buffer, std::uint32_t value, bool littleEndian) {
    std::array<std::uint8_t, 4> octets{};
    putNumber(octets, 0, value, littleEndian);
    return buffer.append(octets);
}

}  // namespace

bool addressByKey(Octets message, const MessageHeader& header, const RequestHeader& request,
                  OctetBuffer& made) {
    constexpr std::size_t dispositionOctets = 2;
    const bool hasKey =
        made.append(message.first(request.targetAt)) && made.appendZeros(dispositionOctets) &&
        alignTo(made, 4) &&
        appendNumber(made, static_cast<std::uint32_t>(request.key.size()), header.littleEndian) &&
        made.append(request.key);
    if (!hasKey)
        return false;
    if (header.type == MessageType::Request) {
        // the rest of the header was aligned to 4, and must be so again
        const std::size_t rest = (request.targetEnd + 3) / 4 * 4;
        if (!alignTo(made, 4) || !made.append(message.subspan(rest, request.headerEnd - rest)))
            return false;
        const bool hasBody = request.body < message.size();
        if (hasBody && (!alignTo(made, 8) || !made.append(message.subspan(request.body))))
            return false;
    }
    putNumber(made.octets(), kSizeAt, static_cast<std::uint32_t>(made.size() - kHeaderOctets),
              header.littleEndian);
    return true;
}

}  // namespace kelp::orb::giop
