#pragma once

#include <kelp/util/file_identity.h>

#include <vector>

#include "chain/chained_rows.h"
#include "database/log_file.h"

namespace kelp::oplog {

/// The database of one log. Opens it when it is needed, and again after each failure, so that it
/// recovers without help. Used by one thread. An operation that fails leaves the database unchanged
/// and throws LogFailure.
class LogStore {
  public:
    enum class Damaged { IsSetAside, IsAnError };

    /// `keyFile` is LogSettings::auditKeyFile.
    LogStore(std::filesystem::path file, LogKind kind, std::chrono::milliseconds busy,
             Damaged damaged, std::filesystem::path keyFile = {})
        : file_(std::move(file)),
          kind_(kind),
          busy_(busy),
          damaged_(damaged),
          keyFile_(std::move(keyFile)) {}

    /// Open the database if it is closed, and import side files.
    void open();
    /// Append all records or none.
    void append(const LogBatch& batch);
    void append(std::vector<LogEntry>& entries);
    /// Remove some of the records that are older than `oldest` (if given), or some of the oldest
    /// while the database is larger than `bytesMax`. Returns true if there may be more to remove.
    bool retain(std::uint64_t bytesMax, std::optional<UtcTime> oldest);

  private:
    template <class Body>
    void guarded(Body body);
    void close();
    void openNow();
    void takeInSideFiles();
    template <class Records>
    void appendAll(Records& records);

    const std::filesystem::path file_;
    const LogKind kind_;
    const std::chrono::milliseconds busy_;
    const Damaged damaged_;
    const std::filesystem::path keyFile_;
    std::unique_ptr<SQLite::Database> database_;
    std::unique_ptr<RecordTable> table_;
    util::FileIdentity identity_;
    ChainMemory memory_;
};

}  // namespace kelp::oplog
