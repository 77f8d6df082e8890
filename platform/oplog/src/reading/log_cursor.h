#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

#include "database/log_file.h"
#include "reading/log_filter.h"
#include "reading/record_pages.h"

namespace kelp::oplog {

/// Iterates over the matching records of one database. Throws LogFailure.
class LogCursor {
  public:
    LogCursor(const std::filesystem::path& file, LogKind kind);

    /// Begin a search. `filter` must exist until the search ends.
    void begin(const LogQuery& query, const LogFilter& filter);
    /// With query.newest: the number of matching records in this database, at most query.newest.
    /// Set by begin().
    std::uint64_t newest() const { return newest_; }
    /// The current record; null after the last one.
    const LogEntry* next();
    void advance();

  private:
    template <class Body>
    auto guarded(Body body);
    void findNewest(std::uint64_t count);

    const std::filesystem::path file_;
    std::unique_ptr<SQLite::Database> database_;
    std::unique_ptr<RecordPages> pages_;
    const LogFilter* filter_ = nullptr;
    std::int64_t from_ = 0;
    std::int64_t last_ = 0;
    std::uint64_t newest_ = 0;
    std::vector<LogEntry> page_;
    std::size_t at_ = 0;  ///< index in page_
};

}  // namespace kelp::oplog
