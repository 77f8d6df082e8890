#include "database/connection.h"

#include <kelp/util/file_trust.h>
#include <kelp/util/private_file.h>
#include <sqlite3.h>

#include <system_error>

#include "database/scan.h"
#include "database/schema.h"

namespace kelp::inventory {

namespace {

/// The path as SQLite opens it. An empty path stays empty.
std::string nameOf(const std::filesystem::path& file) {
    return file.empty() ? std::string() : util::inRealFolder(file).string();
}

}  // namespace

Connection::Connection(const std::filesystem::path& file, Use use)
    // SQLite's own locks are not needed: only one thread uses the connection at a time
    : database_(nameOf(file), SQLite::OPEN_READWRITE | SQLite::OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW,
                static_cast<int>(kPatience.count())) {
    addPassRow(database_);
    if (use == Use::Read) {
        // not opened read-only: SQLite may have to repair the write-ahead log before it can read,
        // which a read-only connection cannot do
        database_.exec("PRAGMA query_only = ON");
    } else {
        database_.exec("PRAGMA foreign_keys = ON");
        database_.exec("PRAGMA synchronous = NORMAL");
    }
}

Prepared& Connection::prepared(const std::string& sql) {
    const auto found = statements_.find(sql);
    return found != statements_.end() ? found->second
                                      : statements_.try_emplace(sql, database_, sql).first->second;
}

void makeMissing(const std::filesystem::path& file) {
    if (const std::string problem = util::makePrivateFile(file); !problem.empty())
        throw InventoryFailure("inventory " + file.string() + ": " + problem);
}

Connection openForWriting(const std::filesystem::path& file) {
    makeMissing(file);
    return translated(file, [&] {
        // checked before the journal mode changes: the database of another program stays untouched
        SQLite::Database database(nameOf(file), SQLite::OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW,
                                  static_cast<int>(Connection::kPatience.count()));
        prepareSchema(database, file);
        database.exec("PRAGMA journal_mode = WAL");
        return Connection(file, Connection::Use::Write);
    });
}

void requireFile(const std::filesystem::path& file) {
    if (std::error_code error; !std::filesystem::exists(file, error))
        throw InventoryFailure("inventory " + file.string() + " does not exist");
    if (const std::string problem = util::problemOfTrust(file); !problem.empty())
        throw InventoryFailure("inventory " + file.string() + ": " + problem);
}

InventoryFailure noLongerThere(const std::filesystem::path& file) {
    return InventoryFailure("inventory " + file.string() +
                            " is no longer the file that was opened");
}

InventoryFailure failureOf(const std::filesystem::path& file, const SQLite::Exception& failure) {
    const std::string subject = "inventory " + file.string();
    switch (failure.getErrorCode()) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return InventoryFailure(subject + " is being written by another process", true);
        case SQLITE_NOTADB:
        case SQLITE_CORRUPT:
            return InventoryFailure(subject + " is damaged: " + failure.getErrorStr());
        case SQLITE_READONLY:
            return InventoryFailure(subject + " is read-only");
        case SQLITE_FULL:
            return InventoryFailure(subject + ": the disk is full");
        default:
            return InventoryFailure(subject + ": " + failure.what());
    }
}

}  // namespace kelp::inventory
