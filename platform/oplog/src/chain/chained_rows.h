#pragma once

#include <kelp/oplog/security_log.h>

#include <filesystem>
#include <memory>

#include "chain/audit_key.h"
#include "database/record_insert.h"
#include "database/record_table.h"

namespace kelp::oplog {

/// What the writer of a chain knows beyond the database, also after the file was set aside or
/// exchanged.
struct ChainMemory {
    ChainHead written;            ///< the last record that it wrote
    std::filesystem::path aside;  ///< a damaged file that the log has not told of yet
    std::shared_ptr<const AuditKey> key;
};

/// A row a record, each with its hash: the security log.
class ChainedRows final : public RecordTable {
  public:
    /// Reads the key into `memory`, unless it is there; a missing one is made. Without a file for
    /// it the chain has no key. Throws LogFailure when the log was made with a key that the file
    /// does not hold.
    ChainedRows(SQLite::Database& database, ChainMemory& memory,
                const std::filesystem::path& keyFile);

    void append(std::vector<LogEntry>& entries) override;
    void append(const LogBatch& batch) override;
    std::optional<bool> removeOldest(std::uint64_t bytesMax,
                                     std::optional<UtcTime> oldest) override;
    void committed() override;

  private:
    void useKey(const std::filesystem::path& keyFile);
    void addMark(std::vector<LogEntry>& entries);
    ChainHead readHead();
    void writeHead(const ChainHead& head);
    std::vector<LogEntry> notes();
    void appendTo(ChainHead& head, std::vector<LogEntry>& entries);
    bool isWrittenHeadThere();

    SQLite::Database& database_;
    ChainMemory& memory_;
    RecordInsert insert_;
    ChainHead uncommitted_;
};

}  // namespace kelp::oplog
