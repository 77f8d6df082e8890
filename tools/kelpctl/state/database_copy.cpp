#include "state/database_copy.h"

#include <SQLiteCpp/Backup.h>
#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/util/file_trust.h>
#include <sqlite3.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

namespace kelp::state {

namespace {

constexpr int kBusyMs = 5000;
/// Writers hold a lock for milliseconds.
constexpr std::chrono::seconds kLockedMax{30};
constexpr std::chrono::milliseconds kPause{20};

[[noreturn]] void failFor(const std::filesystem::path& file, const std::string& why) {
    throw std::runtime_error("database " + file.string() + " " + why);
}

void requireKind(SQLite::Database& database, const std::filesystem::path& file, int applicationId) {
    if (database.execAndGet("PRAGMA application_id").getInt() != applicationId)
        failFor(file, "is not the database that belongs there");
}

/// Copy all pages in one step, which sees the database at one moment. Writers of a write-ahead log
/// go on meanwhile. A copy in several steps would begin again with each of their changes.
void copyAllPages(SQLite::Database& from, SQLite::Database& to, const std::filesystem::path& file) {
    const auto end = std::chrono::steady_clock::now() + kLockedMax;
    SQLite::Backup backup(to, from);
    while (backup.executeStep(-1) != SQLITE_DONE) {
        if (std::chrono::steady_clock::now() >= end)
            failFor(file, "is locked by another process");
        std::this_thread::sleep_for(kPause);
    }
}

/// The name under which SQLite opens a file read-only and without looking for other files.
std::string immutableUri(const std::filesystem::path& file) {
    std::string uri = "file:";
    for (const char each : std::filesystem::absolute(file).string()) {
        constexpr const char* kHex = "0123456789ABCDEF";
        const auto octet = static_cast<unsigned char>(each);
        if (each == '%' || each == '?' || each == '#')
            uri += {'%', kHex[octet >> 4], kHex[octet & 15]};
        else
            uri += each;
    }
    return uri + "?immutable=1";
}

}  // namespace

CopyResult copyDatabase(const std::filesystem::path& from, const std::filesystem::path& to,
                        int applicationId) {
    std::error_code error;
    const auto status = std::filesystem::symlink_status(from, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return CopyResult::IsMissing;
    if (const std::string problem = util::problemOfTrust(from); !problem.empty())
        failFor(from, problem);
    if (status.type() != std::filesystem::file_type::regular)
        failFor(from, "is not a regular file");
    const NewFile made(to);
    try {
        // not read-only: SQLite may have to repair the write-ahead log before it can read
        SQLite::Database source(util::inRealFolder(from).string(),
                                SQLite::OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW, kBusyMs);
        source.exec("PRAGMA query_only = ON");
        source.exec("PRAGMA cell_size_check = ON");
        requireKind(source, from, applicationId);
        SQLite::Database copy(to.string(), SQLite::OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW, kBusyMs);
        // a copy that is interrupted is thrown away
        copy.exec("PRAGMA synchronous = OFF");
        copyAllPages(source, copy, from);
    } catch (const SQLite::Exception& failure) {
        failFor(from, std::string("cannot be copied: ") + failure.what());
    }
    return CopyResult::Done;
}

void requireSoundDatabase(const std::filesystem::path& file, int applicationId) {
    try {
        SQLite::Database database(immutableUri(file), SQLite::OPEN_READONLY | SQLite::OPEN_URI);
        database.exec("PRAGMA cell_size_check = ON");
        database.exec("PRAGMA trusted_schema = OFF");
        requireKind(database, file, applicationId);
        const std::string result = database.execAndGet("PRAGMA quick_check(1)").getString();
        if (result != "ok")
            failFor(file, "is damaged: " + result);
    } catch (const SQLite::Exception& failure) {
        failFor(file, std::string("is damaged: ") + failure.what());
    }
}

}  // namespace kelp::state
