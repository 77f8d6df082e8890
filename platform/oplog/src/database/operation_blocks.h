#pragma once

#include "database/record_table.h"

namespace kelp::oplog {

/// The table of the operation log. A row holds several hundred encoded records (see block_codec.h).
/// This keeps the cost of a request below one microsecond; with one row for each record it was
/// several.
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
