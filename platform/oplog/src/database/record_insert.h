#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/oplog/log_entry.h>

#include <string>
#include <vector>

namespace kelp::oplog {

/// Inserts records, many with one statement where there are many: most of what an insertion costs
/// is the statement's, not the record's.
class RecordInsert {
  public:
    explicit RecordInsert(SQLite::Database& database);
    /// The entries with the hash of each, in their order.
    void insert(const std::vector<LogEntry>& entries, const std::vector<std::string>& hashes);

  private:
    SQLite::Statement one_;
    SQLite::Statement many_;
};

}  // namespace kelp::oplog
