#include "giop/arguments/type_code_reader.h"

#include <algorithm>

namespace kelp::orb::giop {

namespace {

/// Kinds of TypeCodes as they are encoded (CORBA 15.3.5.1, table 15-2).
enum TcKind : std::uint32_t {
    tcNull = 0,
    tcVoid,
    tcShort,
    tcLong,
    tcUShort,
    tcULong,
    tcFloat,
    tcDouble,
    tcBoolean,
    tcChar,
    tcOctet,
    tcAny,
    tcTypeCode,
    tcPrincipal,
    tcReference,
    tcStruct,
    tcUnion,
    tcEnum,
    tcString,
    tcSequence,
    tcArray,
    tcAlias,
    tcException,
    tcLongLong,
    tcULongLong,
    tcLongDouble,
    tcWChar,
    tcWString,
    tcFixed,
    tcValue,
    tcValueBox,
    tcNative,
    tcAbstractInterface,
    tcLocalInterface,
    tcIndirection = 0xffffffff
};

constexpr std::uint32_t fixedDigitsMax = 31;
/// Maximum levels: each is a bit of a 64-bit number.
constexpr std::uint32_t levelsMax = 63;

constexpr TypeNode number(std::uint8_t size, std::uint32_t labelMax = 0) {
    return {TypeKind::Number, size, labelMax, 0, 0};
}
constexpr TypeNode real(std::uint8_t size) {
    return {TypeKind::Real, size, 0, 0, 0};
}
constexpr TypeNode plain(TypeKind kind) {
    return {kind, 0, 0, 0, 0};
}

/// Return the type of a kind without parameters.
std::optional<TypeNode> simpleType(std::uint32_t kind) {
    switch (kind) {
        case tcNull:
        case tcVoid:
            return plain(TypeKind::Nothing);
        case tcBoolean:
            return number(1, 1);
        case tcChar:
            return number(1, 0x7f);
        case tcOctet:
            return number(1);
        case tcShort:
        case tcUShort:
            return number(2);
        case tcLong:
        case tcULong:
            return number(4);
        case tcLongLong:
        case tcULongLong:
            return number(8);
        case tcFloat:
            return real(4);
        case tcDouble:
            return real(8);
        case tcLongDouble:
            return real(16);
        case tcAny:
            return plain(TypeKind::Any);
        case tcTypeCode:
            return plain(TypeKind::TypeCode);
        case tcPrincipal:
            return plain(TypeKind::Text);
        case tcWChar:
            return plain(TypeKind::WideChar);
        default:
            return std::nullopt;
    }
}

bool isConstructed(std::uint32_t kind) {
    return kind == tcStruct || kind == tcUnion || kind == tcException || kind == tcValue;
}

}  // namespace

TypeCodeReader::TypeCodeReader(TypeTable& table, ArgumentBudget& budget, std::uint32_t anyDepth)
    : table_(table),
      budget_(budget),
      anyDepth_(anyDepth),
      seen_(seenOfThread()),
      open_(openOfThread()) {}

std::vector<TypeCodeReader::Seen>& TypeCodeReader::seenOfThread() {
    thread_local std::vector<Seen> seen;
    seen.clear();
    return seen;
}

std::vector<std::size_t>& TypeCodeReader::openOfThread() {
    thread_local std::vector<std::size_t> open;
    open.clear();
    return open;
}

std::optional<std::uint32_t> TypeCodeReader::read(ArgumentReader& reader) {
    return type(reader, false);
}

std::optional<std::uint32_t> TypeCodeReader::refuse(ArgumentVerdict verdict) {
    budget_.refuse(verdict);
    return std::nullopt;
}

bool TypeCodeReader::count(std::uint64_t types) {
    types_ += types;
    if (types_ > budget_.limits().typesMax)
        return budget_.refuse(ArgumentVerdict::TooMany);
    return budget_.spend(types, anyDepth_);
}

std::optional<std::uint32_t> TypeCodeReader::type(ArgumentReader& reader, bool mayRecur) {
    const std::uint32_t kind = reader.unsignedLong();
    if (reader.failed())
        return refuse(ArgumentVerdict::Malformed);
    if (kind == tcIndirection)
        return indirection(reader, mayRecur);
    const std::size_t level = open_.size();
    if (level >= std::min(budget_.limits().depthMax, levelsMax))
        return refuse(ArgumentVerdict::TooDeep);
    const std::uint64_t before = types_;
    if (!count(1))
        return std::nullopt;
    const std::size_t own = seen_.size();
    const std::uint32_t place = table_.add({});
    seen_.push_back({reader.at() - sizeof kind, place, 0, 0, isConstructed(kind)});
    open_.push_back(own);
    if (!content(reader, kind, own) || reader.failed())
        return refuse(ArgumentVerdict::Malformed);
    open_.pop_back();
    seen_[own].weight = static_cast<std::uint32_t>(types_ - before);
    seen_[own].recursion &= (std::uint64_t{1} << level) - 1;
    if (level > 0)
        seen_[open_.back()].recursion |= seen_[own].recursion;
    return seen_[own].place;
}

/// The offset counts from its own position (CORBA 15.3.5.1), so it must lead back beyond the kind
/// that precedes it.
std::optional<std::uint32_t> TypeCodeReader::indirection(ArgumentReader& reader, bool mayRecur) {
    const std::uint32_t offset = reader.unsignedLong();
    const std::size_t from = reader.at() - sizeof offset;
    const std::size_t back =
        std::size_t{0} - static_cast<std::size_t>(static_cast<std::int32_t>(offset));
    if (reader.failed() || back > from)
        return refuse(ArgumentVerdict::Malformed);
    const auto found =
        std::lower_bound(seen_.begin(), seen_.end(), from - back,
                         [](const Seen& seen, std::size_t at) { return seen.offset < at; });
    if (found == seen_.end() || found->offset != from - back)
        return refuse(ArgumentVerdict::Malformed);
    return found->weight == 0 ? recursion(*found, mayRecur) : repetition(*found);
}

/// The target is still open: it contains the indirection.
std::optional<std::uint32_t> TypeCodeReader::recursion(const Seen& target, bool mayRecur) {
    if (!mayRecur || !target.canRecur)
        return refuse(ArgumentVerdict::Malformed);
    if (!count(1))
        return std::nullopt;
    const auto level = std::find_if(open_.begin(), open_.end(),
                                    [&](std::size_t each) { return &seen_[each] == &target; });
    seen_[open_.back()].recursion |= std::uint64_t{1} << (level - open_.begin());
    return target.place;
}

/// The target is complete. If it leads back to types around it, these must also be around this
/// indirection: walking such a type from elsewhere takes the ORB exponential time.
std::optional<std::uint32_t> TypeCodeReader::repetition(const Seen& target) {
    for (std::size_t level = 0; level < levelsMax && target.recursion >> level != 0; ++level) {
        const bool leadsThere = (target.recursion >> level & 1) != 0;
        if (leadsThere && (level >= open_.size() || seen_[open_[level]].offset > target.offset))
            return refuse(ArgumentVerdict::TooMany);
    }
    if (!count(target.weight))
        return std::nullopt;
    seen_[open_.back()].recursion |= target.recursion;
    return target.place;
}

/// Read the parameters of a kind. Return false without a verdict when they are malformed.
bool TypeCodeReader::content(ArgumentReader& reader, std::uint32_t kind, std::size_t own) {
    if (const auto simple = simpleType(kind)) {
        table_.complete(seen_[own].place, *simple, {});
        return true;
    }
    TypeNode node;
    switch (kind) {
        case tcString:
        case tcWString:
            node.kind = kind == tcString ? TypeKind::Text : TypeKind::WideText;
            node.length = reader.unsignedLong();
            break;
        case tcFixed:
            node.kind = TypeKind::Fixed;
            node.length = reader.unsignedShort();
            // the ORB reads as many digits as the type says into a buffer for 31
            if (node.length == 0 || node.length > fixedDigitsMax ||
                reader.unsignedShort() > node.length)
                return false;
            break;
        default:
            return encapsulated(reader, kind, own);
    }
    table_.complete(seen_[own].place, node, {});
    return true;
}

bool TypeCodeReader::encapsulated(ArgumentReader& reader, std::uint32_t kind, std::size_t own) {
    if (kind > tcLocalInterface || kind == tcNative)
        return false;
    ArgumentReader inside = reader.encapsulation();
    if (inside.left() > budget_.limits().typeOctetsMax)
        return budget_.refuse(ArgumentVerdict::TooLong);
    if (kind == tcSequence || kind == tcArray)
        return elements(inside, kind == tcSequence, own);
    inside.skipText();  // the repository id
    inside.skipText();  // the name
    return !inside.failed() && named(inside, kind, own) && !inside.failed();
}

bool TypeCodeReader::named(ArgumentReader& inside, std::uint32_t kind, std::size_t own) {
    const std::uint32_t place = seen_[own].place;
    switch (kind) {
        case tcReference:
            table_.complete(place, plain(TypeKind::Reference), {});
            return true;
        case tcAbstractInterface:
            table_.complete(place, plain(TypeKind::Interface), {});
            return true;
        case tcLocalInterface:
            table_.complete(place, plain(TypeKind::Unreceivable), {});
            return true;
        case tcEnum:
            table_.complete(place, number(4), {});
            return enumerators(inside);
        case tcAlias:
            return alias(inside, own);
        case tcUnion:
            return unionMembers(inside, place);
        case tcValue:
            return valueMembers(inside, place);
        case tcValueBox:
            table_.complete(place, plain(TypeKind::Value), {});
            return type(inside, true).has_value();
        default:
            return members(inside, place);
    }
}

/// An alias has the same encoding as its content.
bool TypeCodeReader::alias(ArgumentReader& inside, std::size_t own) {
    const auto content = type(inside, false);
    if (content)
        seen_[own].place = *content;
    return content.has_value();
}

/// Arrays without elements are refused: IDL does not have them, and the ORB does not expect them.
bool TypeCodeReader::elements(ArgumentReader& inside, bool isSequence, std::size_t own) {
    const auto element = type(inside, isSequence);
    const std::uint32_t length = inside.unsignedLong();
    if (!element || inside.failed() || (length == 0 && !isSequence))
        return false;
    const TypePart part{*element, 0};
    const TypeKind kind = isSequence ? TypeKind::Sequence : TypeKind::Array;
    table_.complete(seen_[own].place, {kind, 0, length, 0, 0}, {&part, 1});
    return true;
}

bool TypeCodeReader::enumerators(ArgumentReader& inside) {
    const std::uint32_t count = inside.unsignedLong();
    for (std::uint32_t i = 0; i < count && !inside.failed(); ++i)
        inside.skipText();
    return true;
}

bool TypeCodeReader::members(ArgumentReader& inside, std::uint32_t place) {
    const std::uint32_t count = inside.unsignedLong();
    std::vector<TypePart> typeParts;
    for (std::uint32_t i = 0; i < count; ++i) {
        inside.skipText();
        const auto member = type(inside, false);
        if (!member)
            return false;
        typeParts.push_back({*member, 0});
    }
    table_.complete(place, plain(TypeKind::Struct), typeParts);
    return true;
}

bool TypeCodeReader::unionMembers(ArgumentReader& inside, std::uint32_t place) {
    const auto discriminator = type(inside, false);
    if (!discriminator || table_.node(*discriminator).kind != TypeKind::Number)
        return false;
    const TypeNode switchedOn = table_.node(*discriminator);
    const auto defaultIndex = static_cast<std::int32_t>(inside.unsignedLong());
    const std::uint32_t count = inside.unsignedLong();
    // the ORB uses the index without checking it against the number of members
    if (defaultIndex >= 0 && static_cast<std::uint32_t>(defaultIndex) >= count)
        return false;
    std::vector<TypePart> typeParts{{*discriminator, 0}};
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint64_t label = inside.number(switchedOn.size);
        inside.skipText();
        const auto member = type(inside, false);
        if (!member || !isLabel(label, switchedOn))
            return false;
        typeParts.push_back({*member, label});
    }
    const std::uint32_t defaultPart =
        defaultIndex < 0 ? 0 : static_cast<std::uint32_t>(defaultIndex) + 1;
    table_.complete(place, {TypeKind::Union, 0, defaultPart, 0, 0}, typeParts);
    return true;
}

/// Read the members of a valuetype to find its end and to limit them. They are not kept.
bool TypeCodeReader::valueMembers(ArgumentReader& inside, std::uint32_t place) {
    inside.unsignedShort();  // the modifier
    const auto base = type(inside, false);
    if (!base)
        return false;
    const TypeKind baseKind = table_.node(*base).kind;
    if (baseKind != TypeKind::Value && baseKind != TypeKind::Nothing)
        return false;
    const std::uint32_t count = inside.unsignedLong();
    for (std::uint32_t i = 0; i < count; ++i) {
        inside.skipText();
        if (!type(inside, true))
            return false;
        inside.unsignedShort();  // the visibility
    }
    table_.complete(place, plain(TypeKind::Value), {});
    return true;
}

}  // namespace kelp::orb::giop
