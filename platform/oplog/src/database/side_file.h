#pragma once

#include <kelp/oplog/log_entry.h>

#include <filesystem>
#include <vector>

namespace kelp::oplog {

/// Writes records that found no way into the database to a file of their own (mode 0600, a JSON
/// object a line): beside the database, or, when that fails, in the folder of temporary files.
/// Returns its name; throws LogFailure.
std::filesystem::path writeSideFile(const std::filesystem::path& database,
                                    std::vector<LogEntry> entries);

/// The side files beside a database, the oldest first.
std::vector<std::filesystem::path> sideFilesOf(const std::filesystem::path& database);
/// Appends the records of one; lines that make no sense are traced and left out. False, traced,
/// when the file cannot be read.
bool readSideFile(const std::filesystem::path& file, std::vector<LogEntry>& entries);

}  // namespace kelp::oplog
