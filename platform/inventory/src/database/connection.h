#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/inventory/failure.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <unordered_map>

#include "database/prepared.h"

namespace kelp::inventory {

/// A connection to the database, with the statements that were prepared for it. Only one thread may
/// use it at a time.
class Connection {
  public:
    enum class Use { Read, Write };
    static constexpr std::chrono::milliseconds kPatience{2000};

    /// Open an existing file. An empty path opens a private temporary database, which SQLite
    /// deletes with the connection. Throws SQLite::Exception.
    Connection(const std::filesystem::path& file, Use use);
    // not movable either: the statements refer to the database
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    SQLite::Database& database() { return database_; }
    /// The statement with that text. Prepared at the first call.
    Prepared& prepared(const std::string& sql);

    std::int64_t lastId() const { return database_.getLastInsertRowid(); }

  private:
    SQLite::Database database_;
    std::unordered_map<std::string, Prepared> statements_;
};

/// Create an empty file with mode 0600, and its folder, if it is missing. Throws InventoryFailure.
void makeMissing(const std::filesystem::path& file);
/// Open the inventory for changes. A missing one is created with its folder, mode 0600 and its
/// tables. One of an earlier version is migrated. Throws InventoryFailure.
Connection openForWriting(const std::filesystem::path& file);
/// Throw InventoryFailure unless the file exists and its owner and mode can be trusted. Does not
/// check the version.
void requireFile(const std::filesystem::path& file);

/// The failure for a path that no longer leads to the file that was opened.
InventoryFailure noLongerThere(const std::filesystem::path& file);
/// SQLite's failure as one sentence that names the file.
InventoryFailure failureOf(const std::filesystem::path& file, const SQLite::Exception& failure);

/// Run `body` and throw SQLite's failures as InventoryFailure.
template <class Body>
auto translated(const std::filesystem::path& file, Body&& body) {
    try {
        return body();
    } catch (const SQLite::Exception& failure) {
        throw failureOf(file, failure);
    }
}

}  // namespace kelp::inventory
