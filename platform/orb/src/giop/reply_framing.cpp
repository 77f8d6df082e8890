#include "giop/reply_framing.h"

#include <algorithm>

namespace kelp::orb::giop {

namespace {

// message types that a server sends (CORBA 15.4.1)
constexpr std::uint8_t reply = 1;
constexpr std::uint8_t locateReply = 4;
constexpr std::uint8_t closeConnection = 5;
constexpr std::uint8_t messageError = 6;
constexpr std::uint8_t fragment = 7;

/// Return the minimum size of a message's body in octets. A reply has a request's id, a status and
/// a number of service contexts. A fragment of GIOP 1.2 has a request's id.
std::size_t bodyOctetsMin(std::uint8_t type, std::uint8_t minor) {
    switch (type) {
        case reply:
            return 12;
        case locateReply:
            return 8;
        case fragment:
            return minor >= 2 ? 4 : 0;
        default:
            return 0;
    }
}

}  // namespace

bool ReplyFraming::accepts(std::span<const std::uint8_t> octets) {
    while (!octets.empty() && !isBroken_) {
        if (bodyLeft_ > 0) {
            const std::size_t taken = std::min(bodyLeft_, octets.size());
            bodyLeft_ -= taken;
            octets = octets.subspan(taken);
            continue;
        }
        header_[headerRead_++] = octets.front();
        octets = octets.subspan(1);
        if (headerRead_ == headerOctets) {
            headerRead_ = 0;
            isBroken_ = !acceptsHeader();
        }
    }
    return !isBroken_;
}

bool ReplyFraming::acceptsHeader() {
    constexpr std::array<std::uint8_t, 5> beginning{'G', 'I', 'O', 'P', 1};
    if (!std::equal(beginning.begin(), beginning.end(), header_.begin()))
        return false;
    const std::uint8_t minor = header_[5];
    const std::uint8_t type = header_[7];
    if (type != reply && type != locateReply && type != closeConnection && type != messageError &&
        type != fragment)
        return false;
    const bool isLittleEndian = (header_[6] & 1) != 0;
    bodyLeft_ = 0;
    for (std::size_t i = 0; i < 4; ++i)
        bodyLeft_ = bodyLeft_ << 8 | header_[isLittleEndian ? 11 - i : 8 + i];
    return bodyLeft_ >= bodyOctetsMin(type, minor);
}

}  // namespace kelp::orb::giop
