#include "giop/events/type_code_paddings.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "giop/arguments/argument_limits.h"
#include "giop/events/scanned_kinds.h"

namespace kelp::orb::giop {

namespace {

/// Return the size of a discriminator of the kind; 0 if a union cannot be switched on that kind.
std::size_t discriminatorSize(std::uint32_t kind) {
    switch (kind) {
        case scBoolean:
        case scChar:
            return 1;
        case scShort:
        case scUShort:
            return sizeof(std::uint16_t);
        case scLong:
        case scULong:
        case scEnum:
            return sizeof(std::uint32_t);
        case scLongLong:
        case scULongLong:
            return sizeof(std::uint64_t);
        default:
            return 0;
    }
}

}  // namespace

bool TypeCodePaddings::clear() {
    return type() && at_ == octets_.size();
}

bool TypeCodePaddings::type() {
    std::uint32_t kind = 0;
    std::uint32_t parameter = 0;
    if (depth_ >= ArgumentLimits().depthMax || !unsignedLong(kind))
        return false;
    if (isEncapsulated(kind)) {
        ++depth_;
        const bool isRead = encapsulated(kind);
        --depth_;
        return isRead;
    }
    switch (kind) {
        case scString:
        case scWideString:
        case scFixed:
        case scIndirection:
            return unsignedLong(parameter);
        default:
            return kind <= scWideChar;
    }
}

bool TypeCodePaddings::encapsulated(std::uint32_t kind) {
    constexpr bool isLittleEndian = std::endian::native == std::endian::little;
    std::uint32_t length = 0;
    if (!unsignedLong(length) || length == 0 || length > end_ - at_)
        return false;
    const std::size_t outerEnd = end_;
    const std::size_t outerOrigin = origin_;
    origin_ = at_;
    end_ = at_ + length;
    const bool isRead =
        octets_[at_] == (isLittleEndian ? 1 : 0) && skip(1) && content(kind) && at_ == end_;
    end_ = outerEnd;
    origin_ = outerOrigin;
    return isRead;
}

bool TypeCodePaddings::content(std::uint32_t kind) {
    std::uint32_t length = 0;
    if (kind == scSequence || kind == scArray)
        return type() && unsignedLong(length);
    if (!text() || !text())
        return false;
    switch (kind) {
        case scStruct:
            return members();
        case scEnum:
            return enumerators();
        case scUnion:
            return unionMembers();
        case scAlias:
            return type();
        default:
            return true;
    }
}

bool TypeCodePaddings::members() {
    std::uint32_t count = 0;
    if (!unsignedLong(count))
        return false;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (!text() || !type())
            return false;
    }
    return true;
}

bool TypeCodePaddings::enumerators() {
    std::uint32_t count = 0;
    if (!unsignedLong(count))
        return false;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (!text())
            return false;
    }
    return true;
}

/// A discriminator whose type is an alias or an indirection is left to the ORB.
bool TypeCodePaddings::unionMembers() {
    std::uint32_t kind = 0;
    std::uint32_t number = 0;
    const std::size_t begin = at_;
    if (!unsignedLong(kind))
        return false;
    const std::size_t size = discriminatorSize(kind);
    at_ = begin;
    if (size == 0 || !type() || !unsignedLong(number) || !unsignedLong(number))
        return false;
    for (std::uint32_t i = 0; i < number; ++i) {
        if (!align(size) || !skip(size) || !text() || !type())
            return false;
    }
    return true;
}

bool TypeCodePaddings::text() {
    std::uint32_t length = 0;
    return unsignedLong(length) && skip(length);
}

bool TypeCodePaddings::unsignedLong(std::uint32_t& value) {
    if (!align(sizeof value) || !skip(sizeof value))
        return false;
    std::memcpy(&value, octets_.data() + at_ - sizeof value, sizeof value);
    return true;
}

bool TypeCodePaddings::align(std::size_t alignment) {
    const std::size_t padding = (alignment - (at_ - origin_) % alignment) % alignment;
    if (padding == 0)
        return true;
    if (!skip(padding))
        return false;
    std::fill_n(octets_.begin() + static_cast<std::ptrdiff_t>(at_ - padding), padding,
                std::uint8_t{0});
    found_.push_back({base_ + at_ - padding, padding});
    return true;
}

bool TypeCodePaddings::skip(std::size_t octets) {
    if (octets > end_ - at_)
        return false;
    at_ += octets;
    return true;
}

}  // namespace kelp::orb::giop
