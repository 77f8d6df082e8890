#pragma once

#include <kelp/oplog/chain_head.h>

#include <filesystem>
#include <memory>

#include "chain/audit_key.h"
#include "database/record_insert.h"
#include "database/record_table.h"

namespace kelp::oplog {

/// What the writer of a chain remembers, even if the file is renamed or replaced.
struct ChainMemory {
    ChainHead written;            ///< the last record that this writer wrote
    std::filesystem::path aside;  ///< a damaged file that is not recorded in the log yet
    std::shared_ptr<const AuditKey> key;
};

/// The table of the security log: one row for each record, with its hash.
class ChainedRows final : public RecordTable {
  public:
    /// Read the key into `memory` unless it holds one, and create the key if it is missing. Without
    /// `keyFile` the chain has no key. Throws LogFailure if the log was made with a key that is not
    /// in the file.
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
