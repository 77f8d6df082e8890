#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "chain/audit_key.h"

namespace kelp::oplog {

/// The id of the key in the log's last mark; empty if it has none.
std::optional<std::string> markedKey(SQLite::Database& database);

/// Return why a log with this mark cannot continue with `key` (may be null), as one sentence. Empty
/// if it can.
std::string problemOfKey(const std::filesystem::path& database,
                         const std::optional<std::string>& mark,
                         const std::filesystem::path& keyFile, const AuditKey* key);

}  // namespace kelp::oplog
