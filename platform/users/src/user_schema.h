#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <filesystem>

namespace kelp::users {

/// Create the tables in an empty database file. Other files stay as they are.
void makeUserSchema(SQLite::Database& database);

/// Update a user database that an earlier version of this program created. Throws
/// std::runtime_error for a file that is not a user database or belongs to a later version. `file`
/// is for messages.
void updateUserSchema(SQLite::Database& database, const std::filesystem::path& file);

}  // namespace kelp::users
