#pragma once

#include <kelp/util/export.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace kelp::oplog {

/// How long records are kept. Both limits hold; the oldest records go first.
struct KELP_EXPORT Retention {
    std::chrono::days age{180};
    std::uint64_t bytes = 1024u << 20;  ///< of a log's database, without what SQLite has free in it
};

/// Where a log is and how it behaves.
struct KELP_EXPORT LogSettings {
    std::filesystem::path database;
    /// Of the security log: the file with the key of its chain, made when it is missing. Empty: a
    /// chain without a key.
    std::filesystem::path auditKeyFile;
    Retention retention;
    std::size_t queueMax = 200000;             ///< records that wait for the disk
    std::chrono::milliseconds stallMax{2000};  ///< for a place in a full queue; 0 never waits
};

/// The table [oplog] of the configuration: the operation log, and the security log in a database
/// beside it
/// ("oplog.db", "oplog-audit.db"), with the same limits and its key.
KELP_EXPORT LogSettings configuredOperationLog();
KELP_EXPORT LogSettings configuredSecurityLog();
/// The operation log's part for callers without a log-in: a database beside the other, with a size
/// of its own and a queue in which no request waits for a place.
KELP_EXPORT LogSettings configuredLogBeforeLogIn();
/// Records of that part that stand individually within a minute, of one outcome and caller's
/// address.
KELP_EXPORT unsigned configuredRecordsBeforeLogIn();

/// The database beside that of an operation log which is its part for callers without a log-in
/// ("oplog-before-login.db").
KELP_EXPORT std::filesystem::path partBeforeLogIn(const std::filesystem::path& operationLog);

}  // namespace kelp::oplog
