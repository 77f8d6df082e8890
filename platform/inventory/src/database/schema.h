#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <filesystem>
#include <functional>
#include <span>

namespace kelp::inventory {

/// What makes a version of the tables out of the one before; inside a transaction.
using SchemaStep = std::function<void(SQLite::Database&)>;

/// The steps so far: the first makes version 1 out of an empty file, and so on. A new version is a
/// new entry.
std::span<const SchemaStep> schemaSteps();

/// Makes the tables in an empty file, or brings those of an earlier version up to date, all or
/// nothing. Throws InventoryFailure for a file that is no inventory, or one of a later version;
/// such a file stays as it is. `file` is for messages.
void prepareSchema(SQLite::Database& database, const std::filesystem::path& file,
                   std::span<const SchemaStep> steps = schemaSteps());
/// The same within a writing transaction of the caller's, which may undo it.
void bringUpToDate(SQLite::Database& database, const std::filesystem::path& file,
                   std::span<const SchemaStep> steps = schemaSteps());

}  // namespace kelp::inventory
