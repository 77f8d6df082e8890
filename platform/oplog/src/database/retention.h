#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/oplog/chain_head.h>
#include <kelp/oplog/log_entry.h>

#include <optional>

namespace kelp::oplog {

/// A table whose ids grow with time. A row is one record, or a block whose id is that of its last
/// record.
struct AgeingTable {
    const char* name;
    const char* time;  ///< name of the column with the time in ms
    const char* hash;  ///< name of the column with the hash, or an SQL expression instead
};
constexpr AgeingTable kRows{"record", "time_ms", "hash"};
constexpr AgeingTable kBlocks{"block", "until_ms", "''"};

/// What removeOldest() removed.
struct Removal {
    ChainHead last;       ///< the newest row that was removed
    bool isMore = false;  ///< there may be more to remove
};

/// Remove a limited number of the oldest rows inside the caller's transaction: rows before the
/// first one that is not older than `oldest` (if given), and one twentieth of all rows if the
/// database is larger than `bytesMax`. Returns nothing if no row had to be removed.
std::optional<Removal> removeOldest(SQLite::Database& database, const AgeingTable& table,
                                    std::uint64_t bytesMax, std::optional<UtcTime> oldest);

}  // namespace kelp::oplog
