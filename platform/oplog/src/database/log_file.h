#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/oplog/log_search.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

namespace kelp::oplog {

/// Why a log cannot be read or written, in one sentence that names the file.
class LogFailure : public std::runtime_error {
  public:
    explicit LogFailure(const std::string& sentence, bool isDamage = false)
        : std::runtime_error(sentence), isDamage_(isDamage) {}
    /// The file is no database, or a broken one.
    bool isDamage() const { return isDamage_; }

  private:
    bool isDamage_;
};

LogFailure failureOf(const std::filesystem::path& file, const SQLite::Exception& failure);

/// Opens a log, or makes it with its folder, readable by its owner only. Throws LogFailure or
/// SQLite::Exception.
std::unique_ptr<SQLite::Database> openForWriting(const std::filesystem::path& file, LogKind kind,
                                                 std::chrono::milliseconds busy);
std::unique_ptr<SQLite::Database> openForReading(const std::filesystem::path& file, LogKind kind);

/// Renames a database and what SQLite keeps beside it. Returns the new name; throws LogFailure.
std::filesystem::path setAside(const std::filesystem::path& file);

/// All columns of a record but its hash, in the order of entryOf() and bindEntry().
extern const char* const kRecordColumns;
LogEntry entryOf(SQLite::Statement& row);
/// Binds behind the first `before` places, without copying: the entry must stay until the statement
/// has been executed.
void bindEntry(SQLite::Statement& insert, const LogEntry& entry, int before);

}  // namespace kelp::oplog
