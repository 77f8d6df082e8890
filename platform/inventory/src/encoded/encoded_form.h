#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "encoded/structure.h"

namespace kelp::inventory {

/// The version of the encoded form that rows are stored with. A row with another version is encoded
/// from its columns until it is written again.
inline constexpr int kEncodedVersion = 1;

/// The largest encoded form that is stored or read. Longer objects are always encoded from their
/// columns, so that a damaged length costs little memory and time.
inline constexpr std::size_t kEncodedMax = 65536;

/// Return a structure as it is stored in a row: version, byte order, a hash of everything, and the
/// structure. Empty if it is longer than kEncodedMax.
std::string storedForm(const Structure& structure);

/// A structure as it is stored, borrowed from the row.
class StoredForm {
  public:
    /// Read what storedForm() returned. The result fits() only if version, byte order and hash are
    /// right and all lengths are within the bytes.
    explicit StoredForm(std::string_view bytes);

    bool fits() const { return !octets_.empty(); }
    std::string_view octets() const { return octets_; }
    std::string_view name() const { return octets_.substr(0, nameLength_); }
    std::span<const std::uint32_t> emsAt() const { return std::span(emsAt_).first(emsCount_); }

  private:
    /// More than any structure has: a termination point has its name and those of two traffic
    /// descriptors, a link its name and those of its ends.
    static constexpr std::size_t kEmsMax = 8;

    std::string_view octets_;
    std::array<std::uint32_t, kEmsMax> emsAt_{};
    std::size_t emsCount_ = 0;
    std::size_t nameLength_ = 0;
};

/// Append a structure, or the beginning of one, with `ems` in the places where the EMS belongs.
void appendWithEms(std::string_view octets, std::span<const std::uint32_t> emsAt,
                   std::string_view ems, std::string& to);

/// Return the value of the EMS as it is inserted: a text with its length, padded to a multiple of
/// four.
std::string encodedEms(std::string_view name);

}  // namespace kelp::inventory
