#pragma once

#include "database/record_table.h"

namespace kelp::oplog {

/// Several hundred records a row, encoded (see block_codec.h): the operation log. A request may
/// cost no more than a fraction of a microsecond here; a row a record took several.
class OperationBlocks final : public RecordTable {
  public:
    explicit OperationBlocks(SQLite::Database& database);

    void append(std::vector<LogEntry>& entries) override;
    void append(const LogBatch& batch) override;
    std::optional<bool> removeOldest(std::uint64_t bytesMax,
                                     std::optional<UtcTime> oldest) override;
    void committed() override {}

  private:
    class Appending;
    std::int64_t readLastId();
    void writeLastId(std::int64_t id);

    SQLite::Database& database_;
    SQLite::Statement insert_;
};

}  // namespace kelp::oplog
