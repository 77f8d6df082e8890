#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kelp::orb::giop {

/// How a value of a type is encoded. Aliases are resolved, and types that are encoded alike share a
/// kind.
enum class TypeKind : std::uint8_t {
    Nothing,    ///< null, void
    Number,     ///< integers, characters, booleans, enums: `size` octets, aligned to `size`; see
                ///< isLabel
    Real,       ///< float, double, long double: `size` octets, aligned to at most 8
    Text,       ///< string of at most `length` characters, 0: unbounded; and Principal, which is
                ///< encoded alike
    WideText,   ///< wstring, likewise
    WideChar,   ///< wchar
    Any,        ///< any
    TypeCode,   ///< TypeCode
    Reference,  ///< an object reference
    Fixed,      ///< fixed: `length` digits
    Struct,     ///< struct, exception: the parts in order
    Union,  ///< the discriminator's type, then the members with their labels; part `length` is the
            ///< default
    Sequence,      ///< elements of its only part's type, at most `length`, 0: unbounded
    Array,         ///< `length` elements of its only part's type
    Value,         ///< a valuetype of any kind
    Interface,     ///< an abstract interface: an object reference or a value
    Unreceivable,  ///< a local interface, of which no encoded value exists
};

/// A type in a TypeTable.
struct TypeNode {
    TypeKind kind = TypeKind::Nothing;
    std::uint8_t size = 0;
    std::uint32_t length = 0;
    std::uint32_t firstPart = 0;
    std::uint32_t partCount = 0;
};

/// A component of a type.
struct TypePart {
    std::uint32_t type = 0;   ///< place of its node
    std::uint64_t label = 0;  ///< of a union's member, as encoded
};

/// Return whether a number can select a union's member. `length` of a Number is the largest value
/// that can, or 0 for no limit. Booleans and characters have a limit because the ORB compares them
/// after decoding, where other octets might become equal to a label.
inline bool isLabel(std::uint64_t value, const TypeNode& number) {
    return number.length == 0 || value <= number.length;
}

/// Types that refer to each other by their places. The table grows while TypeCodes are read, and
/// shrinks again after the value of each any. Not thread safe.
class TypeTable {
  public:
    struct Size {
        std::size_t nodes;
        std::size_t parts;
    };

    TypeTable(std::span<const TypeNode> nodes, std::span<const TypePart> parts)
        : nodes_(nodes.begin(), nodes.end()), parts_(parts.begin(), parts.end()) {}

    TypeNode node(std::uint32_t place) const { return nodes_[place]; }
    TypePart part(std::uint32_t place) const { return parts_[place]; }

    std::uint32_t add(const TypeNode& node) {
        nodes_.push_back(node);
        return static_cast<std::uint32_t>(nodes_.size() - 1);
    }
    /// Set the content of a node. Its parts are stored in a row.
    void complete(std::uint32_t place, TypeNode node, std::span<const TypePart> parts) {
        node.firstPart = static_cast<std::uint32_t>(parts_.size());
        node.partCount = static_cast<std::uint32_t>(parts.size());
        parts_.insert(parts_.end(), parts.begin(), parts.end());
        nodes_[place] = node;
    }

    Size size() const { return {nodes_.size(), parts_.size()}; }
    void shrink(Size size) {
        nodes_.resize(size.nodes);
        parts_.resize(size.parts);
    }

  private:
    std::vector<TypeNode> nodes_;
    std::vector<TypePart> parts_;
};

}  // namespace kelp::orb::giop
