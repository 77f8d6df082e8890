#pragma once

#include <kelp/util/export.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace kelp::oplog {

/// How long records are kept. Both limits apply. The oldest records are removed first.
struct KELP_EXPORT Retention {
    std::chrono::days age{180};
    std::uint64_t bytes = 1024u << 20;  ///< size of a log's database, without the free pages in it
};

/// Where a log is stored and how it behaves.
struct KELP_EXPORT LogSettings {
    std::filesystem::path database;
    /// Only for the security log: the file with the key of its chain, created if it is missing.
    /// Empty: the chain has no key.
    std::filesystem::path auditKeyFile;
    Retention retention;
    std::size_t queueMax = 200000;  ///< maximum number of records that wait for the disk
    std::chrono::milliseconds stallMax{
        2000};  ///< maximum time that a record waits for room in a full queue; 0: it never waits
};

/// The settings of the table [oplog] of the configuration. The security log is a database next to
/// that of the operation log ("oplog.db", "oplog-audit.db") with the same limits and with its key.
KELP_EXPORT LogSettings configuredOperationLog();
KELP_EXPORT LogSettings configuredSecurityLog();
/// The operation log's part for callers without a log-in: a database next to that of the operation
/// log, with a separate size limit. No request waits for room in its queue.
KELP_EXPORT LogSettings configuredLogBeforeLogIn();
/// Maximum number of individual records in that part for one outcome and one caller's address
/// within a minute.
KELP_EXPORT unsigned configuredRecordsBeforeLogIn();

/// The path of that part for an operation log: "oplog-before-login.db" next to "oplog.db".
KELP_EXPORT std::filesystem::path partBeforeLogIn(const std::filesystem::path& operationLog);

}  // namespace kelp::oplog
