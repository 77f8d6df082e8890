#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "giop/arguments/type_table.h"

namespace kelp::orb::giop {

/// A TypeCode that was read once.
struct KnownType {
    TypeTable table;
    std::uint32_t place;  ///< of the type in the table
};

/// TypeCodes that the ORB has accepted, found by their octets. Since their encapsulations align by
/// themselves, a TypeCode has the same octets wherever it stands in a message, if its padding is
/// zero: see TypeCodePaddings. Not thread safe.
class KnownTypes {
  public:
    using Octets = std::span<const std::uint8_t>;

    /// Return the type of a TypeCode in native byte order, from its kind to its end; null if it is
    /// not known.
    const KnownType* find(Octets typeCode) const;
    /// Add a TypeCode. Return false if it cannot be read or is longer than any that is kept. When
    /// too many are kept, all others are forgotten.
    bool learn(Octets typeCode);
    std::size_t size() const { return types_.size(); }

  private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view octets) const {
            return std::hash<std::string_view>()(octets);
        }
    };

    std::unordered_map<std::string, std::shared_ptr<const KnownType>, Hash, std::equal_to<>> types_;
    std::size_t octets_ = 0;  ///< of all TypeCodes
};

}  // namespace kelp::orb::giop
