#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kelp::orb::giop {

/// Octets between values, which have no meaning. Some ORBs send in them what their memory
/// contained.
struct Padding {
    std::size_t at;
    std::size_t octets;
};

/// Finds the padding in an encoded TypeCode and sets it to zero, so that equal TypeCodes have equal
/// octets. The octets may be hostile. Used once. Not thread safe.
class TypeCodePaddings {
  public:
    /// Keeps the TypeCode's octets, from its kind to its end, in native byte order. Positions in
    /// `found` count from `base`.
    TypeCodePaddings(std::span<std::uint8_t> typeCode, std::size_t base,
                     std::vector<Padding>& found)
        : octets_(typeCode), end_(typeCode.size()), base_(base), found_(found) {}

    /// Return false if the octets are not a TypeCode, contain one in another byte order, or one
    /// that does not describe a type of values.
    bool clear();

  private:
    bool type();
    bool encapsulated(std::uint32_t kind);
    bool content(std::uint32_t kind);
    bool members();
    bool enumerators();
    bool unionMembers();
    bool text();
    bool unsignedLong(std::uint32_t& value);
    bool align(std::size_t alignment);
    bool skip(std::size_t octets);

    std::span<std::uint8_t> octets_;
    std::size_t at_ = 0;
    std::size_t end_;         ///< of the encapsulation
    std::size_t origin_ = 0;  ///< of the encapsulation: alignment counts from here
    const std::size_t base_;
    std::uint32_t depth_ = 0;
    std::vector<Padding>& found_;
};

}  // namespace kelp::orb::giop
