#pragma once

#include <kelp/oplog/log_entry.h>

#include <filesystem>
#include <vector>

namespace kelp::oplog {

/// Write records that could not be written to the database to a separate file (mode 0600, one JSON
/// object a line). The file is next to the database, or, if that fails, in the folder of temporary
/// files. Returns its path. Throws LogFailure.
std::filesystem::path writeSideFile(const std::filesystem::path& database,
                                    std::vector<LogEntry> entries);

/// The side files next to a database, the oldest first.
std::vector<std::filesystem::path> sideFilesOf(const std::filesystem::path& database);
/// Append the records of a side file to `entries`. Invalid lines are traced and skipped. If the
/// file cannot be read, the failure is traced and the result is false.
bool readSideFile(const std::filesystem::path& file, std::vector<LogEntry>& entries);

}  // namespace kelp::oplog
