#pragma once

#include <kelp/util/export.h>

#include <cstdint>
#include <optional>
#include <string>

namespace kelp::oplog {

/// A place in the chain: the number and the hash of a record.
struct KELP_EXPORT ChainHead {
    std::int64_t id = 0;
    std::string hash;  ///< lower-case hexadecimal digits

    /// "number:hash".
    std::string text() const;
    /// Parse a text that text() returned. Empty for any other text.
    static std::optional<ChainHead> of(const std::string& text);
};

}  // namespace kelp::oplog
