#include "giop/arguments/value_walk.h"

#include "giop/arguments/type_code_reader.h"

namespace kelp::orb::giop {

namespace {

/// Return the octets that a value of the kind takes, with an alignment of at most 8; 0 if they are
/// not a fixed number.
std::uint64_t octetsOf(const TypeNode& node) {
    return node.kind == TypeKind::Number || node.kind == TypeKind::Real ? node.size : 0;
}

std::size_t alignmentOf(const TypeNode& node) {
    constexpr std::size_t alignmentMax = 8;
    return node.size < alignmentMax ? node.size : alignmentMax;
}

}  // namespace

bool ValueWalk::unlessShort() {
    return reader_.failed() ? budget_.refuse(ArgumentVerdict::Malformed) : true;
}

bool ValueWalk::value(std::uint32_t type) {
    if (depth_ >= budget_.limits().depthMax)
        return budget_.refuse(ArgumentVerdict::TooDeep);
    ++depth_;
    const bool fine = budget_.spend(1, anyDepth_) && inside(type) && unlessShort();
    --depth_;
    return fine;
}

bool ValueWalk::inside(std::uint32_t type) {
    const TypeNode node = table_.node(type);
    switch (node.kind) {
        case TypeKind::Nothing:
            return true;
        case TypeKind::Number:
        case TypeKind::Real:
            return elements(type, 1);
        case TypeKind::Text:
            reader_.skipCounted();
            return true;
        case TypeKind::WideText:
            return wideText();
        case TypeKind::WideChar:
            return wideChar();
        case TypeKind::Any:
            return any();
        case TypeKind::TypeCode:
            return typeCode();
        case TypeKind::Reference:
            return reference();
        case TypeKind::Fixed:
            reader_.skip(node.length / 2 + 1);
            return true;
        case TypeKind::Struct:
            return structMembers(node);
        case TypeKind::Union:
            return unionMember(node);
        case TypeKind::Sequence:
            return sequence(node);
        case TypeKind::Array:
            return elements(table_.part(node.firstPart).type, node.length);
        case TypeKind::Value:
            return nilValue();
        case TypeKind::Interface:
            return interface();
        case TypeKind::Unreceivable:
            break;
    }
    return budget_.refuse(ArgumentVerdict::Malformed);
}

bool ValueWalk::any() {
    if (anyDepth_ >= budget_.limits().anyDepthMax)
        return budget_.refuse(ArgumentVerdict::TooDeep);
    const TypeTable::Size before = table_.size();
    const auto type = TypeCodeReader(table_, budget_, anyDepth_).read(reader_);
    ++anyDepth_;
    const bool fine = type && value(*type);
    --anyDepth_;
    table_.shrink(before);
    return fine;
}

bool ValueWalk::typeCode() {
    const TypeTable::Size before = table_.size();
    const auto type = TypeCodeReader(table_, budget_, anyDepth_).read(reader_);
    table_.shrink(before);
    return type.has_value();
}

/// Skip the type's id and the profiles (CORBA 13.6.2). Some ORBs send a nil reference with an id of
/// no octets.
bool ValueWalk::reference() {
    reader_.skipCounted();
    const std::uint32_t profiles = reader_.unsignedLong();
    for (std::uint32_t i = 0; i < profiles; ++i) {
        if (!unlessShort() || !budget_.spend(1, anyDepth_))
            return false;
        reader_.unsignedLong();
        reader_.skipCounted();
    }
    return true;
}

bool ValueWalk::structMembers(const TypeNode& node) {
    for (std::uint32_t i = 0; i < node.partCount; ++i)
        if (!value(table_.part(node.firstPart + i).type))
            return false;
    return true;
}

/// The ORB compares the labels one after another, so each is work. Without a matching label and
/// without a default there is no member.
bool ValueWalk::unionMember(const TypeNode& node) {
    const TypeNode switchedOn = table_.node(table_.part(node.firstPart).type);
    const std::uint64_t discriminator = reader_.number(switchedOn.size);
    if (!isLabel(discriminator, switchedOn))
        return budget_.refuse(ArgumentVerdict::Malformed);
    if (!unlessShort() || !budget_.spend(node.partCount, anyDepth_))
        return false;
    for (std::uint32_t i = 1; i < node.partCount; ++i)
        if (const TypePart part = table_.part(node.firstPart + i);
            i != node.length && part.label == discriminator)
            return value(part.type);
    return node.length == 0 || value(table_.part(node.firstPart + node.length).type);
}

bool ValueWalk::sequence(const TypeNode& node) {
    const std::uint32_t length = reader_.unsignedLong();
    if (length > reader_.left())
        return budget_.refuse(ArgumentVerdict::Malformed);
    return elements(table_.part(node.firstPart).type, length);
}

bool ValueWalk::elements(std::uint32_t type, std::uint64_t count) {
    const TypeNode node = table_.node(type);
    if (const std::uint64_t octets = octetsOf(node)) {
        if (count != 0)
            reader_.align(alignmentOf(node));
        reader_.skip(count * octets);
        return unlessShort();
    }
    for (std::uint64_t i = 0; i < count; ++i)
        if (!value(type))
            return false;
    return true;
}

/// The ORB has a code set for wide characters only in GIOP 1.2, which counts them in octets.
bool ValueWalk::wideChar() {
    reader_.skip(reader_.octet());
    return minorVersion_ >= 2 || budget_.refuse(ArgumentVerdict::Malformed);
}

bool ValueWalk::wideText() {
    reader_.skipCounted();
    return minorVersion_ >= 2 || budget_.refuse(ArgumentVerdict::Malformed);
}

/// Nil is encoded as a zero tag (CORBA 15.3.4.4).
bool ValueWalk::nilValue() {
    return reader_.unsignedLong() == 0 || budget_.refuse(ArgumentVerdict::Malformed);
}

bool ValueWalk::interface() {
    return reader_.octet() != 0 ? reference() : nilValue();
}

}  // namespace kelp::orb::giop
