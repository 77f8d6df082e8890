#include "user_schema.h"

#include <array>
#include <stdexcept>
#include <string>

namespace kelp::users {

namespace {

/// "KUSR" in the file's header (PRAGMA application_id). It keeps another program's database from
/// being mistaken for ours.
constexpr int kApplicationId = 0x4B555352;

/// The statements that turn version n into version n + 1, beginning with an empty file.
constexpr std::array kSteps = {
    R"(
CREATE TABLE user (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    name TEXT NOT NULL UNIQUE,
    password_hash TEXT NOT NULL,
    enabled INTEGER NOT NULL DEFAULT 1,
    created_utc INTEGER NOT NULL,
    password_changed_utc INTEGER NOT NULL
) STRICT;
)",
    R"(
ALTER TABLE user ADD COLUMN expires_utc INTEGER;
ALTER TABLE user ADD COLUMN networks TEXT NOT NULL DEFAULT '';
ALTER TABLE user ADD COLUMN password_number INTEGER NOT NULL DEFAULT 0;
ALTER TABLE user ADD COLUMN unlocks INTEGER NOT NULL DEFAULT 0;
)",
    R"(
ALTER TABLE user ADD COLUMN subjects TEXT NOT NULL DEFAULT '';
)",
};
constexpr int kSchemaVersion = static_cast<int>(kSteps.size());

int pragma(SQLite::Database& database, const char* name) {
    return database.execAndGet(std::string("PRAGMA ") + name).getInt();
}

bool hasTables(SQLite::Database& database) {
    return database.execAndGet("SELECT count(*) FROM sqlite_schema").getInt() > 0;
}

void applySteps(SQLite::Database& database, int from) {
    for (int version = from; version < kSchemaVersion; ++version)
        database.exec(kSteps[static_cast<std::size_t>(version)]);
    database.exec("PRAGMA user_version = " + std::to_string(kSchemaVersion));
}

}  // namespace

void makeUserSchema(SQLite::Database& database) {
    if (pragma(database, "user_version") != 0)
        return;
    // two programs may find the file empty at the same time: check again inside the transaction
    SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
    if (pragma(database, "user_version") != 0 || hasTables(database))
        return;
    database.exec("PRAGMA application_id = " + std::to_string(kApplicationId));
    applySteps(database, 0);
    transaction.commit();
}

void updateUserSchema(SQLite::Database& database, const std::filesystem::path& file) {
    if (pragma(database, "application_id") != kApplicationId)
        throw std::runtime_error(file.string() + " is not a user database");
    const int version = pragma(database, "user_version");
    if (version == kSchemaVersion)
        return;
    if (version < 1 || version > kSchemaVersion)
        throw std::runtime_error("user database " + file.string() + " has schema version " +
                                 std::to_string(version) + "; this program knows version " +
                                 std::to_string(kSchemaVersion));
    SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
    applySteps(database, pragma(database, "user_version"));
    transaction.commit();
}

}  // namespace kelp::users
