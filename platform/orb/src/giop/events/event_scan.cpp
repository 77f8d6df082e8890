#include "giop/events/event_scan.h"

#include <algorithm>
#include <cstring>

#include "giop/arguments/argument_limits.h"
#include "giop/events/scanned_kinds.h"

namespace kelp::orb::giop {

namespace {

constexpr std::uint8_t kHighBit = 0x80;
constexpr std::size_t kAlignmentMax = 8;

bool isAscii(EventScan::Octets octets) {
    return std::none_of(octets.begin(), octets.end(),
                        [](std::uint8_t each) { return (each & kHighBit) != 0; });
}

bool containsNull(EventScan::Octets octets) {
    return !octets.empty() && std::memchr(octets.data(), 0, octets.size()) != nullptr;
}

}  // namespace

EventScan::EventScan(Octets octets, std::size_t at, const KnownTypes& types, EventMap& map)
    : octets_(octets), types_(types), at_(std::min(at, octets.size())), map_(map) {
    const ArgumentLimits limits;
    map_.clear();
    work_ = limits.workBase + limits.workPerOctet * octets.size();
}

EventScan::Verdict EventScan::run() {
    if (event())
        return Verdict::Fine;
    return isUnknown_ ? Verdict::UnknownType : Verdict::Refused;
}

bool EventScan::event() {
    if (!align(sizeof(std::uint32_t)))
        return false;
    map_.begin = at_;
    map_.paddings.clear();
    std::uint32_t length = 0;
    if (!name() || !name() || !name() || !unsignedLong(length))
        return false;
    map_.header = at_;
    at_ -= sizeof length;
    if (!properties())
        return false;
    map_.marks.push_back(at_);
    if (!properties())
        return false;
    map_.marks.push_back(at_);
    if (!any())
        return false;
    map_.end = at_;
    return true;
}

bool EventScan::properties() {
    std::uint32_t length = 0;
    if (!unsignedLong(length))
        return false;
    for (std::uint32_t i = 0; i < length; ++i) {
        if (!align(sizeof length))
            return false;
        map_.marks.push_back(at_);
        if (!name() || !any())
            return false;
    }
    return align(sizeof length);
}

/// A name is found by comparison, so it must not depend on the code set.
bool EventScan::name() {
    const bool wasPlain = map_.isPlain;
    map_.isPlain = true;
    const bool isPlainName = text() && map_.isPlain;
    map_.isPlain = wasPlain;
    return isPlainName;
}

bool EventScan::any() {
    if (anyDepth_ >= ArgumentLimits().anyDepthMax || !align(sizeof(std::uint32_t)) || !spend(1))
        return false;
    const std::size_t begin = at_;
    std::uint32_t kind = 0;
    if (!unsignedLong(kind))
        return false;
    ++anyDepth_;
    const bool isRead = isEncapsulated(kind) ? described(begin) : valueOfKind(kind);
    --anyDepth_;
    return isRead;
}

/// Read the rest of a TypeCode without an encapsulation, and the value.
bool EventScan::valueOfKind(std::uint32_t kind) {
    std::uint32_t bound = 0;
    switch (kind) {
        case scNull:
        case scVoid:
            return true;
        case scBoolean:
        case scOctet:
            return numbers(1, 1);
        case scChar:
            if (left() > 0 && (octets_[at_] & kHighBit) != 0)
                map_.isPlain = false;
            return numbers(1, 1);
        case scShort:
        case scUShort:
            return numbers(sizeof(std::uint16_t), 1);
        case scLong:
        case scULong:
        case scFloat:
            return numbers(sizeof(std::uint32_t), 1);
        case scDouble:
        case scLongLong:
        case scULongLong:
            return numbers(sizeof(std::uint64_t), 1);
        case scLongDouble:
            return numbers(2 * sizeof(std::uint64_t), 1);
        case scAny:
            return any();
        case scTypeCode:
            return typeCode();
        case scString:
            // the ORB checks the bound
            return unsignedLong(bound) && (bound == 0 || notPlain(true)) && text();
        case scWideString:
            return unsignedLong(bound) && notPlain(skipCounted());
        case scWideChar:
            return notPlain(wideChar());
        case scFixed:
            return notPlain(fixed());
        default:
            return false;
    }
}

/// Read the rest of a TypeCode that began at `begin` and describes its type in an encapsulation,
/// and the value.
bool EventScan::described(std::size_t begin) {
    if (!skipCounted())
        return false;
    map_.typeCode.assign(octets_.begin() + static_cast<std::ptrdiff_t>(begin),
                         octets_.begin() + static_cast<std::ptrdiff_t>(at_));
    if (!TypeCodePaddings(map_.typeCode, begin, map_.paddings).clear())
        return false;
    const KnownType* type = types_.find(map_.typeCode);
    isUnknown_ = type == nullptr;
    return !isUnknown_ && value(*type, type->place);
}

bool EventScan::value(const KnownType& type, std::uint32_t place) {
    if (depth_ >= ArgumentLimits().depthMax || !spend(1))
        return false;
    ++depth_;
    const bool isRead = inside(type, type.table.node(place));
    --depth_;
    return isRead;
}

bool EventScan::inside(const KnownType& type, const TypeNode& node) {
    switch (node.kind) {
        case TypeKind::Nothing:
            return true;
        case TypeKind::Number:
            // a character of another code set, or a boolean that the ORB writes in another way
            if (node.size == 1 && left() > 0 && !isLabel(octets_[at_], node))
                map_.isPlain = false;
            return numbers(node.size, 1);
        case TypeKind::Real:
            return numbers(node.size, 1);
        case TypeKind::Text:
            if (node.length != 0)
                map_.isPlain = false;
            return text();
        case TypeKind::WideText:
            return notPlain(skipCounted());
        case TypeKind::WideChar:
            return notPlain(wideChar());
        case TypeKind::Any:
            return any();
        case TypeKind::TypeCode:
            return typeCode();
        case TypeKind::Reference:
            return reference();
        case TypeKind::Fixed:
            return notPlain(skip(node.length / 2 + 1));
        case TypeKind::Struct:
            return structMembers(type, node);
        case TypeKind::Union:
            return unionMember(type, node);
        case TypeKind::Sequence:
            return sequence(type, node);
        case TypeKind::Array:
            return elements(type, type.table.part(node.firstPart).type, node.length);
        default:
            return false;
    }
}

bool EventScan::structMembers(const KnownType& type, const TypeNode& node) {
    for (std::uint32_t i = 0; i < node.partCount; ++i) {
        if (!value(type, type.table.part(node.firstPart + i).type))
            return false;
    }
    return true;
}

/// Without a matching label and without a default there is no member.
bool EventScan::unionMember(const KnownType& type, const TypeNode& node) {
    const TypeNode switchedOn = type.table.node(type.table.part(node.firstPart).type);
    std::uint64_t discriminator = 0;
    if (!spend(node.partCount) || !number(switchedOn.size, discriminator) ||
        !isLabel(discriminator, switchedOn))
        return false;
    for (std::uint32_t i = 1; i < node.partCount; ++i) {
        const TypePart part = type.table.part(node.firstPart + i);
        if (i != node.length && part.label == discriminator)
            return value(type, part.type);
    }
    return node.length == 0 || value(type, type.table.part(node.firstPart + node.length).type);
}

bool EventScan::sequence(const KnownType& type, const TypeNode& node) {
    std::uint32_t length = 0;
    if (!unsignedLong(length) || length > left())
        return false;
    // the ORB checks the bound
    if (node.length != 0)
        map_.isPlain = false;
    return elements(type, type.table.part(node.firstPart).type, length);
}

bool EventScan::elements(const KnownType& type, std::uint32_t place, std::uint64_t count) {
    const TypeNode node = type.table.node(place);
    const bool isBlock = node.kind == TypeKind::Real ||
                         (node.kind == TypeKind::Number && (node.size > 1 || node.length == 0));
    if (isBlock)
        return count == 0 || numbers(node.size, count);
    for (std::uint64_t i = 0; i < count; ++i) {
        if (!value(type, place))
            return false;
    }
    return true;
}

/// A text without a null octet at its end, or with one before it, is left to the ORB.
bool EventScan::text() {
    std::uint32_t length = 0;
    if (!unsignedLong(length) || length == 0 || length > left())
        return false;
    const Octets characters = octets_.subspan(at_, length - 1);
    if (octets_[at_ + length - 1] != 0 || containsNull(characters))
        return false;
    if (!isAscii(characters))
        map_.isPlain = false;
    return skip(length);
}

/// In GIOP 1.2 the characters are preceded by the number of their octets.
bool EventScan::wideChar() {
    return left() > 0 && skip(1 + octets_[at_]);
}

/// Read the digits and the scale of a TypeCode, and the value: two digits or the sign in an octet.
bool EventScan::fixed() {
    std::uint64_t digits = 0;
    std::uint64_t scale = 0;
    return number(sizeof(std::uint16_t), digits) && number(sizeof(std::uint16_t), scale) &&
           skip(digits / 2 + 1);
}

/// The ORB reads the profiles of a reference.
bool EventScan::reference() {
    map_.isPlain = false;
    std::uint32_t profiles = 0;
    std::uint32_t tag = 0;
    if (!skipCounted() || !unsignedLong(profiles))
        return false;
    for (std::uint32_t i = 0; i < profiles; ++i) {
        if (!spend(1) || !unsignedLong(tag) || !skipCounted())
            return false;
    }
    return true;
}

/// Skip a TypeCode that is a value.
bool EventScan::typeCode() {
    map_.isPlain = false;
    std::uint32_t kind = 0;
    std::uint32_t bound = 0;
    if (!unsignedLong(kind))
        return false;
    if (kind == scString || kind == scWideString || kind == scFixed)
        return unsignedLong(bound);
    return isEncapsulated(kind) ? skipCounted() : kind <= scWideChar;
}

bool EventScan::notPlain(bool isRead) {
    map_.isPlain = false;
    return isRead;
}

bool EventScan::number(std::size_t size, std::uint64_t& value) {
    if (!numbers(size, 1))
        return false;
    const std::uint8_t* from = octets_.data() + at_ - size;
    const auto read = [&](auto typed) {
        std::memcpy(&typed, from, sizeof typed);
        value = typed;
    };
    if (size == sizeof(std::uint8_t))
        read(std::uint8_t{});
    else if (size == sizeof(std::uint16_t))
        read(std::uint16_t{});
    else if (size == sizeof(std::uint32_t))
        read(std::uint32_t{});
    else
        read(std::uint64_t{});
    return true;
}

bool EventScan::numbers(std::size_t size, std::uint64_t count) {
    return align(std::min(size, kAlignmentMax)) && skip(count * size);
}

bool EventScan::unsignedLong(std::uint32_t& value) {
    if (!numbers(sizeof value, 1))
        return false;
    std::memcpy(&value, octets_.data() + at_ - sizeof value, sizeof value);
    return true;
}

bool EventScan::align(std::size_t alignment) {
    if (alignment == kAlignmentMax && map_.firstEight == EventMap::kNowhere)
        map_.firstEight = at_;
    const std::size_t padding = (alignment - at_ % alignment) % alignment;
    if (padding == 0)
        return true;
    map_.paddings.push_back({at_, padding});
    return skip(padding);
}

bool EventScan::skip(std::uint64_t octets) {
    if (octets > left())
        return false;
    at_ += static_cast<std::size_t>(octets);
    return true;
}

bool EventScan::skipCounted() {
    std::uint32_t length = 0;
    return unsignedLong(length) && skip(length);
}

bool EventScan::spend(std::uint64_t steps) {
    if (steps > work_)
        return false;
    work_ -= steps;
    return true;
}

}  // namespace kelp::orb::giop
