#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <filesystem>

namespace NS_CORBA {

/// Makes the tables in an empty database file; another one stays as it is.
void makeUserSchema(SQLite::Database& database);

/// Brings a user database that an earlier version of this program made up to date. Throws
/// std::runtime_error for a file that is no user database, or one of a later version. `file` is for
/// messages.
void updateUserSchema(SQLite::Database& database, const std::filesystem::path& file);

}  // namespace NS_CORBA
