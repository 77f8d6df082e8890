#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/oplog/log_search.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace kelp::oplog {

/// The records of a log, some at a time; nothing of the database stays held in between. Throws
/// SQLite::Exception and LogFailure.
class RecordPages {
  public:
    virtual ~RecordPages() = default;

    /// 0 when there are none.
    virtual std::int64_t lastId() = 0;
    /// The number before which no record is, even partly, of that time or later.
    virtual std::int64_t firstIdSince(UtcTime since) = 0;
    /// Some of the records from `from` to `to`, in order and without a gap: the first of them, or
    /// the last. Empty when there is none.
    virtual std::vector<LogEntry> first(std::int64_t from, std::int64_t to) = 0;
    virtual std::vector<LogEntry> last(std::int64_t from, std::int64_t to) = 0;
};

std::unique_ptr<RecordPages> pagesOf(SQLite::Database& database, LogKind kind);

}  // namespace kelp::oplog
