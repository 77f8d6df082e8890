#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/oplog/security_log.h>

#include <optional>

namespace kelp::oplog {

/// Records that retention has removed.
struct Removal {
    ChainHead last;       ///< the youngest of them
    bool isMore = false;  ///< there may be more to remove
};

/// Removes the oldest records, a bounded number of them, inside the caller's transaction: those before the
/// first one that is not older than `oldest` (if given), and a part of all while they take more than so many
/// bytes. None: none had to go.
std::optional<Removal> removeOldest(SQLite::Database& database, std::uint64_t bytesMax,
                                    std::optional<UtcTime> oldest);

}  // namespace kelp::oplog
