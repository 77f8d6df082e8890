#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/oplog/log_entry.h>

#include <string>
#include <vector>

namespace kelp::oplog {

/// Inserts records, if possible many with one statement, because most of the cost is that of
/// executing a statement.
class RecordInsert {
  public:
    explicit RecordInsert(SQLite::Database& database);
    /// Insert the entries with their hashes, in the same order.
    void insert(const std::vector<LogEntry>& entries, const std::vector<std::string>& hashes);

  private:
    SQLite::Statement one_;
    SQLite::Statement many_;
};

}  // namespace kelp::oplog
