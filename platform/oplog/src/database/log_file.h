#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/oplog/log_entry.h>

#include <chrono>
#include <filesystem>
#include <memory>

#include "records/log_failure.h"

namespace kelp::oplog {

LogFailure failureOf(const std::filesystem::path& file, const SQLite::Exception& failure);

/// Open a log, or create it and its folder so that only the owner can read it. Throws LogFailure or
/// SQLite::Exception.
std::unique_ptr<SQLite::Database> openForWriting(const std::filesystem::path& file, LogKind kind,
                                                 std::chrono::milliseconds busy);
std::unique_ptr<SQLite::Database> openForReading(const std::filesystem::path& file, LogKind kind);

/// Rename a database and SQLite's files next to it. Returns the new name. Throws LogFailure.
std::filesystem::path setAside(const std::filesystem::path& file);

/// All columns of a record except its hash, in the order of entryOf() and bindEntry().
extern const char* const kRecordColumns;
LogEntry entryOf(SQLite::Statement& row);
/// Bind the columns to the places after the first `before` ones. Does not copy the texts: the entry
/// must exist until the statement has been executed.
void bindEntry(SQLite::Statement& insert, const LogEntry& entry, int before);

}  // namespace kelp::oplog
