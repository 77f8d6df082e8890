#pragma once

#include <kelp/util/file_identity.h>

#include <vector>

#include "chain/chained_rows.h"
#include "database/log_file.h"

namespace kelp::oplog {

/// The database of one log, opened by need and again after every failure, so that it heals by
/// itself. For one thread. A failure leaves the database as it was and is thrown as LogFailure.
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

    /// Opens the database, if it is not open, and takes in side files.
    void open();
    /// Appends all or none.
    void append(const LogBatch& batch);
    void append(std::vector<LogEntry>& entries);
    /// Removes a part of what is older than `oldest`, if given, or more than so many bytes. True
    /// when there may be more to remove.
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
