#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "chain/audit_key.h"

namespace kelp::oplog {

/// The id of the key that a log was last marked with; none: it has no such record.
std::optional<std::string> markedKey(SQLite::Database& database);

/// What keeps a log that is marked so from going on with `key`, if any, as one sentence; empty:
/// nothing.
std::string problemOfKey(const std::filesystem::path& database,
                         const std::optional<std::string>& mark,
                         const std::filesystem::path& keyFile, const AuditKey* key);

}  // namespace kelp::oplog
