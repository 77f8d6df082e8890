#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "records/packed_records.h"

namespace kelp::oplog {

/// Encodes consecutive records, about a dozen bytes each. Numbers have a variable length: 7 bits a
/// byte, low bits first, and the top bit is set in all bytes except the last.
///
/// A record consists of
/// - its time in ms since the previous record (the first: since 1970), zigzag-encoded;
/// - its duration in us plus one, or 0 if it has none;
/// - its texts: for each the number, counted from 1, of an equal text that the block holds already;
/// or 0, the length and the bytes of a new text.
///
/// Texts are escaped and truncated as in the log.
class BlockEncoder {
  public:
    void add(const RecordView& record);
    std::size_t count() const { return count_; }
    UtcTime earliest() const { return earliest_; }
    UtcTime latest() const { return latest_; }
    const std::string& bytes() const { return bytes_; }
    void clear();

  private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const {
            return std::hash<std::string_view>{}(text);
        }
    };
    struct Held {
        std::string_view text;  ///< refers to a text in places_
        std::uint64_t place = 0;
    };
    Held held(std::string_view text, std::size_t bytesMax);

    std::string bytes_;
    std::size_t count_ = 0;
    std::int64_t lastTime_ = 0;
    UtcTime earliest_{};
    UtcTime latest_{};
    std::unordered_map<std::string, std::uint64_t, Hash, std::equal_to<>>
        places_;  ///< the number of each text
    std::array<Held, RecordView::Texts>
        last_;  ///< texts of the previous record, because the next one has mostly the same
};

/// Decode the records of a block. Throws LogFailure, which does not name the file, for invalid
/// bytes.
std::vector<LogEntry> decodeBlock(std::string_view bytes, std::size_t records);

}  // namespace kelp::oplog
