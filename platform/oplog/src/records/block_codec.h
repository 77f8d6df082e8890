#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "records/packed_records.h"

namespace kelp::oplog {

/// Encodes records that stand together, about a dozen bytes each. All numbers are variable-length
/// (7 bits a byte, low ones first, the top bit set in all but the last).
///
/// A record is: its time in ms after the one before (after 1970 for the first), zigzag; its
/// duration in us plus one, 0 for none; its texts, each the place of one that the block holds
/// already, counted from 1, or 0, the length and the bytes of a new one. Texts are escaped and
/// bounded as the log keeps them.
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
        std::string_view text;  ///< of places_
        std::uint64_t place = 0;
    };
    Held held(std::string_view text, std::size_t bytesMax);

    std::string bytes_;
    std::size_t count_ = 0;
    std::int64_t lastTime_ = 0;
    UtcTime earliest_{};
    UtcTime latest_{};
    std::unordered_map<std::string, std::uint64_t, Hash, std::equal_to<>>
        places_;                                ///< of the texts
    std::array<Held, RecordView::Texts> last_;  ///< most records say what the one before said
};

/// The records of a block. Throws LogFailure, without a file's name, for bytes that are none.
std::vector<LogEntry> decodeBlock(std::string_view bytes, std::size_t records);

}  // namespace kelp::oplog
