#pragma once

#include <kelp/oplog/log_entry.h>
#include <kelp/oplog/log_settings.h>
#include <kelp/util/export.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace kelp::oplog {

/// The record of one request. Texts may come from a peer: the log truncates and escapes them.
struct KELP_EXPORT OperationRecord {
    UtcTime time = now();    ///< when the request was received
    std::string user;        ///< session user; empty before the log-in
    std::string nmsAddress;  ///< address and port in the session's name
    std::string peer;        ///< address and port of the connection
    std::string operation;
    ObjectKind objectKind = ObjectKind::Unknown;
    std::string object;   ///< such as the manager's name
    std::string outcome;  ///< "ok" or the exception's name; empty if it is not known
    std::string detail;  ///< of a record that stands for several requests: their number and the end
                         ///< of the period
    std::optional<std::chrono::microseconds> duration;
};

/// Numbers of records since the log was opened: taken = written + missing + aside + waiting.
struct KELP_EXPORT LogCounts {
    std::uint64_t taken = 0;    ///< passed to the log before the stop
    std::uint64_t written = 0;  ///< in the database
    std::uint64_t missing =
        0;  ///< dropped because the queue was full; a gap record holds their number
    std::uint64_t aside = 0;  ///< written to a side file at the stop (or lost, if that failed too)
    std::uint64_t waiting = 0;
    bool fails = false;  ///< the last attempt to write failed
};

class LogWriter;

/// The log of requests: a SQLite database that a separate thread writes in batches. A batch is
/// written at most 100 ms after its first record was received. If the process is killed it loses at
/// most these records.
///
/// While the database cannot be written (disk full, locked, unreachable), records wait in a bounded
/// queue. The outage is traced once. The writing is retried at least once a second. When the queue
/// is full, a record waits up to `stallMax` for room. After one record has waited in vain, no other
/// record waits until there is room again. All records that find no room are counted in one gap
/// record, which is stored at the place of the missing records.
///
/// A damaged database is renamed, and a new one is created. A file that is not a log of this kind
/// is left as it is, and writing fails as in an outage.
class KELP_EXPORT OperationLog {
  public:
    /// Start the thread, which opens or creates the database (mode 0600). The constructor itself
    /// does not wait for the disk.
    explicit OperationLog(const LogSettings& settings);
    /// Calls stop().
    ~OperationLog();
    OperationLog(const OperationLog&) = delete;
    OperationLog& operator=(const OperationLog&) = delete;

    /// Accept a record. Any thread may call it. Never throws and never waits for the disk; waits at
    /// most `stallMax` for room in the queue. Returns false if the record was dropped; it is then
    /// counted as missing.
    bool write(const OperationRecord& record) noexcept;

    /// Set new limits, which the log's thread applies at once.
    void setRetention(const Retention& retention);
    /// Wait until all records are on the disk. Returns false at the deadline.
    bool flush(std::chrono::milliseconds deadline);
    LogCounts counts() const;

    /// Accept no more records, write all waiting records and end the thread. If writing fails for 2
    /// s, the remaining records go to a side file next to the database, or, if that fails too, in
    /// the folder of temporary files; the name of the file is traced. The next opening of the log
    /// imports a side file that is next to the database.
    void stop();

  private:
    std::unique_ptr<LogWriter> writer_;
};

}  // namespace kelp::oplog
