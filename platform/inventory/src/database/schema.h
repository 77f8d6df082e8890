#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <filesystem>
#include <functional>
#include <span>

namespace kelp::inventory {

/// Migrates the tables from one version to the next. Runs inside a transaction.
using SchemaStep = std::function<void(SQLite::Database&)>;

/// All migrations. The first creates version 1 in an empty file, the second migrates version 1 to
/// version 2, and so on. A new version is a new entry.
std::span<const SchemaStep> schemaSteps();

/// Create the tables in an empty file, or migrate those of an earlier version. Changes everything
/// or nothing. Throws InventoryFailure for a file that is not an inventory or has a later version,
/// and leaves it as it is. `file` is for messages.
void prepareSchema(SQLite::Database& database, const std::filesystem::path& file,
                   std::span<const SchemaStep> steps = schemaSteps());
/// The same within a writing transaction of the caller, who may roll it back.
void bringUpToDate(SQLite::Database& database, const std::filesystem::path& file,
                   std::span<const SchemaStep> steps = schemaSteps());

}  // namespace kelp::inventory
