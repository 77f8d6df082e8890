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

/// One request, as whoever served it knows it. Texts may be a peer's: they are cut and escaped by
/// the log.
struct KELP_EXPORT OperationRecord {
    UtcTime time = now();    ///< when the request came in
    std::string user;        ///< session user; empty before the log-in
    std::string nmsAddress;  ///< address and port in the session's name
    std::string peer;        ///< address and port of the connection
    std::string operation;
    ObjectKind objectKind = ObjectKind::Unknown;
    std::string object;   ///< such as the manager's name
    std::string outcome;  ///< "ok" or the exception's name; empty when not known
    std::string detail;   ///< of a record that stands for several requests: how many, until when
    std::optional<std::chrono::microseconds> duration;
};

/// What became of the records since the log was opened: taken = written + missing + aside +
/// waiting.
struct KELP_EXPORT LogCounts {
    std::uint64_t taken = 0;    ///< handed over before the stop
    std::uint64_t written = 0;  ///< in the database
    std::uint64_t missing = 0;  ///< no room in the queue; a gap record tells how many
    std::uint64_t aside = 0;  ///< in a side file (or, its disk being full too, lost) since the stop
    std::uint64_t waiting = 0;
    bool fails = false;  ///< the last attempt to write did
};

class LogWriter;

/// The log of requests: a SQLite database that one thread of its own writes in batches. A batch is
/// written at most 100 ms after its first record came in; that is what a process that is killed
/// loses.
///
/// While the database cannot be written (disk full, locked, unreachable), which is traced once,
/// records wait in a bounded queue and the writing is tried again by itself, at least once a
/// second. When the queue is full, a record waits for a place for `stallMax` at most, and once one
/// has waited in vain no other waits until there is room again; what finds no place is counted in
/// one gap record, which stands where the records are missing. A damaged database is set aside
/// under another name and a new one begun; a file that is no log of this kind is left alone, as an
/// outage.
class KELP_EXPORT OperationLog {
  public:
    /// Starts the thread, which opens or makes the database (mode 0600): nothing waits for the disk
    /// here.
    explicit OperationLog(const LogSettings& settings);
    /// stop().
    ~OperationLog();
    OperationLog(const OperationLog&) = delete;
    OperationLog& operator=(const OperationLog&) = delete;

    /// Takes a record. Any thread; never throws, never waits for the disk, and for a place in the
    /// queue at most `stallMax`. False: the record is missing, counted.
    bool write(const OperationRecord& record) noexcept;

    /// New limits, applied at once by the log's thread.
    void setRetention(const Retention& retention);
    /// Waits until no record waits for the disk. False at the deadline.
    bool flush(std::chrono::milliseconds deadline);
    LogCounts counts() const;

    /// Takes no more records, writes everything that waits and ends the thread. When the database
    /// fails for 2 s on end, what is left goes to a side file beside it (where that fails: in the
    /// folder of temporary files, its name being traced), which is taken into the database when the
    /// log is next opened.
    void stop();

  private:
    std::unique_ptr<LogWriter> writer_;
};

}  // namespace kelp::oplog
