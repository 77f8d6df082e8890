#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/changelog/sqlite_log.h>

#include <memory>
#include <string>
#include <vector>

namespace kelp::changelog {

/// The connection that reads records, so that reading does not wait for a record to become durable.
/// One thread at a time may use it. Throws LogFailure.
class LogReader {
  public:
    /// The file exists and has its tables.
    explicit LogReader(const SqliteLogSettings& settings);

    std::vector<Record> read(Position after, std::size_t recordsMax, std::size_t bytesMax);
    Position first();

  private:
    struct Span {
        Position first = 0;
        Position last = 0;
    };
    std::vector<Record> readInOrder(Position after, std::size_t recordsMax, std::size_t bytesMax);
    Span readSpan();
    LogFailure damaged(Position position, const std::string& what) const;

    const std::filesystem::path file_;
    const std::unique_ptr<SQLite::Database> database_;
    SQLite::Statement span_;
    SQLite::Statement records_;
};

}  // namespace kelp::changelog
