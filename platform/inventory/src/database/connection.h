#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/inventory/failure.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <unordered_map>

#include "database/prepared.h"

namespace kelp::inventory {

/// One connection to the database with the statements that it has prepared. For one thread at a
/// time.
class Connection {
  public:
    enum class Use { Read, Write };
    static constexpr std::chrono::milliseconds kPatience{2000};

    /// Opens a file that is there. An empty name is a database of its own that goes with the
    /// connection. Throws SQLite::Exception.
    Connection(const std::filesystem::path& file, Use use);
    // its statements refer to it
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    SQLite::Database& database() { return database_; }
    /// The statement of that text, prepared once.
    Prepared& prepared(const std::string& sql);

    std::int64_t lastId() const { return database_.getLastInsertRowid(); }

  private:
    SQLite::Database database_;
    std::unordered_map<std::string, Prepared> statements_;
};

/// Makes an empty file, with its folder and mode 0600, if it is missing. Throws InventoryFailure.
void makeMissing(const std::filesystem::path& file);
/// Opens the inventory for changes: made with its folder, mode 0600 and tables if it is missing, or
/// brought up to date. Throws InventoryFailure.
Connection openForWriting(const std::filesystem::path& file);
/// Throws InventoryFailure when there is no inventory. Says nothing of its version.
void requireFile(const std::filesystem::path& file);

/// Another file, or none, stands where the opened one stood.
InventoryFailure noLongerThere(const std::filesystem::path& file);
/// SQLite's failure in one sentence that names the file.
InventoryFailure failureOf(const std::filesystem::path& file, const SQLite::Exception& failure);

/// Runs `body`, SQLite's failures becoming InventoryFailure.
template <class Body>
auto translated(const std::filesystem::path& file, Body&& body) {
    try {
        return body();
    } catch (const SQLite::Exception& failure) {
        throw failureOf(file, failure);
    }
}

}  // namespace kelp::inventory
