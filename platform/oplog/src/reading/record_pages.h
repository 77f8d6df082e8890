#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/oplog/log_search.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace kelp::oplog {

/// Reads the records of a log page by page. No transaction stays open between two pages. Throws
/// SQLite::Exception and LogFailure.
class RecordPages {
  public:
    virtual ~RecordPages() = default;

    /// The number of the last record; 0 if there are none.
    virtual std::int64_t lastId() = 0;
    /// All records with lower numbers are older than `since`. A gap record counts by its end.
    virtual std::int64_t firstIdSince(UtcTime since) = 0;
    /// A part of the records from `from` to `to`, in order and without gaps: first() returns the
    /// beginning, last() the end. Empty if there are none.
    virtual std::vector<LogEntry> first(std::int64_t from, std::int64_t to) = 0;
    virtual std::vector<LogEntry> last(std::int64_t from, std::int64_t to) = 0;
};

std::unique_ptr<RecordPages> pagesOf(SQLite::Database& database, LogKind kind);

}  // namespace kelp::oplog
