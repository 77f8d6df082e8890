#pragma once

#include <kelp/oplog/security_log.h>

#include <vector>

#include "log_file.h"
#include "record_insert.h"

namespace kelp::oplog {

/// The database of one log, opened by need and again after every failure, so that it heals by itself. For one
/// thread. A failure leaves the database as it was and is thrown as LogFailure.
class LogStore {
  public:
    enum class Damaged { IsSetAside, IsAnError };

    LogStore(std::filesystem::path file, LogKind kind, std::chrono::milliseconds busy, Damaged damaged)
        : file_(std::move(file)), kind_(kind), busy_(busy), damaged_(damaged) {}

    /// Opens the database, if it is not open, and takes in side files.
    void open();
    /// Appends all or none.
    void append(std::vector<LogEntry>& entries);
    /// Removes a part of what is older than `oldest`, if given, or more than so many bytes. True when there
    /// may be more to remove.
    bool retain(std::uint64_t bytesMax, std::optional<UtcTime> oldest);

  private:
    template <class Body>
    void guarded(Body body);
    void close();
    void openNow();
    void takeInSideFiles();
    ChainHead readHead();
    void writeHead(const ChainHead& head);
    std::vector<LogEntry> notes();
    void appendTo(ChainHead& head, std::vector<LogEntry>& entries);
    bool isKnownHeadThere();

    const std::filesystem::path file_;
    const LogKind kind_;
    const std::chrono::milliseconds busy_;
    const Damaged damaged_;
    std::unique_ptr<SQLite::Database> database_;
    std::unique_ptr<RecordInsert> insert_;
    FileIdentity identity_;
    ChainHead known_;              ///< what this object wrote last
    std::filesystem::path aside_;  ///< a damaged file that the log has not told of yet
};

}  // namespace kelp::oplog
