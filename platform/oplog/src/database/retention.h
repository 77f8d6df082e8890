#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/oplog/security_log.h>

#include <optional>

namespace kelp::oplog {

/// A table whose rows have an `id` that grows with their age: of a record, or of the last record of
/// several.
struct AgeingTable {
    const char* name;
    const char* time;  ///< the column, in milliseconds
    const char* hash;  ///< the column, or what stands for it
};
constexpr AgeingTable kRows{"record", "time_ms", "hash"};
constexpr AgeingTable kBlocks{"block", "until_ms", "''"};

/// What retention has removed.
struct Removal {
    ChainHead last;       ///< of the youngest row
    bool isMore = false;  ///< there may be more to remove
};

/// Removes the oldest rows, a bounded number of records, inside the caller's transaction: those
/// before the first one that is not older than `oldest` (if given), and a part of all while they
/// take more than so many bytes. None: none had to go.
std::optional<Removal> removeOldest(SQLite::Database& database, const AgeingTable& table,
                                    std::uint64_t bytesMax, std::optional<UtcTime> oldest);

}  // namespace kelp::oplog
