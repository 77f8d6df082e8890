#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kelp::inventory {

/// Rows as the entries of a sequence in CDR, in this machine's byte order. The texts are UTF-8. The
/// octets are valid at any place of a message that is a multiple of four. They end with the last
/// value of the last row, without padding.
struct EncodedRows {
    std::uint32_t count = 0;
    std::string octets;
};

/// How rows are encoded.
struct Encoding {
    enum class Part { Structure, Name };

    std::string_view ems;  ///< name of the EMS, with which all names begin
    Part part = Part::Structure;
    /// The number that precedes each structure that is a member of a union.
    std::optional<std::uint32_t> discriminator = std::nullopt;
    /// Reading ends before a row with which the octets would be more than this. The first row is
    /// always read.
    std::size_t octetsMax = 1u << 20;
};

}  // namespace kelp::inventory
