#include "database/log_file.h"

#include <fcntl.h>
#include <kelp/util/file_trust.h>
#include <kelp/util/private_file.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <system_error>

namespace kelp::changelog {

namespace {

/// "KCHG" in the file's header tells a log from another program's database.
constexpr int kApplicationId = 0x4B434847;
constexpr int kVersion = 1;

/// Nobody else writes. Somebody may read the file with SQLite's own tool.
constexpr int kBusyMs = 2000;

/// The WAL file is truncated to this size once its content is in the database.
constexpr int kWalBytesKept = 16 << 20;

constexpr const char* kSchema = R"(
CREATE TABLE record (
    position INTEGER PRIMARY KEY,
    key BLOB,
    content BLOB NOT NULL,
    checksum INTEGER NOT NULL
) STRICT;
CREATE UNIQUE INDEX record_key ON record (key) WHERE key IS NOT NULL;
CREATE TABLE mark (name TEXT PRIMARY KEY, position INTEGER NOT NULL) STRICT, WITHOUT ROWID;
CREATE TABLE span (
    one INTEGER PRIMARY KEY CHECK (one = 1),
    first INTEGER NOT NULL,
    last INTEGER NOT NULL
) STRICT;
)";

int pragma(SQLite::Database& database, const char* name) {
    return database.execAndGet(std::string("PRAGMA ") + name).getInt();
}

std::int64_t microsecondsNow() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

void createTables(SQLite::Database& database) {
    SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
    database.exec(kSchema);
    const std::int64_t first = microsecondsNow();
    database.exec("INSERT INTO span VALUES (1, " + std::to_string(first) + ", " +
                  std::to_string(first - 1) + ")");
    database.exec("PRAGMA application_id = " + std::to_string(kApplicationId));
    database.exec("PRAGMA user_version = " + std::to_string(kVersion));
    transaction.commit();
}

void requireLog(SQLite::Database& database, const std::filesystem::path& file) {
    if (pragma(database, "application_id") != kApplicationId)
        throw LogFailure(file.string() + " is not a change log", LogFailure::Reason::Damaged);
    if (const int version = pragma(database, "user_version"); version != kVersion)
        throw LogFailure("change log " + file.string() + " has schema version " +
                         std::to_string(version) + "; this program knows version " +
                         std::to_string(kVersion));
}

bool isEmpty(SQLite::Database& database) {
    return pragma(database, "user_version") == 0 && pragma(database, "application_id") == 0 &&
           database.execAndGet("SELECT count(*) FROM sqlite_schema").getInt() == 0;
}

/// Make the folder's entry of a new file durable.
void syncFolderOf(const std::filesystem::path& file) {
    const util::Descriptor folder(
        ::open(util::inRealFolder(file).parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen() || ::fsync(folder.get()) != 0)
        throw LogFailure("cannot write the folder of change log " + file.string() + ": " +
                         std::generic_category().message(errno));
}

}  // namespace

util::Descriptor holdLog(const std::filesystem::path& file) {
    const std::filesystem::path lockFile = file.string() + "-lock";
    std::string problem;
    util::Descriptor lock = util::openPrivateFile(lockFile, O_CLOEXEC, problem);
    if (!lock.isOpen())
        throw LogFailure("lock of change log " + lockFile.string() + ": " + problem);
    if (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0)
        throw LogFailure("change log " + file.string() +
                             " is open elsewhere: " + lockFile.string() + " is locked",
                         LogFailure::Reason::Held);
    return lock;
}

std::unique_ptr<SQLite::Database> connect(const std::filesystem::path& file,
                                          const std::string& vfs) {
    auto database = std::make_unique<SQLite::Database>(
        util::inRealFolder(file).string(),
        SQLite::OPEN_READWRITE | SQLite::OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW, kBusyMs, vfs);
    database->exec("PRAGMA cell_size_check = ON");
    return database;
}

std::unique_ptr<SQLite::Database> openForWriting(const std::filesystem::path& file,
                                                 const std::string& vfs) {
    if (const std::string problem = util::makePrivateFile(file); !problem.empty())
        throw LogFailure("change log " + file.string() + ": " + problem);
    auto database = connect(file, vfs);
    // the other pragmas would change a database of another kind, which must stay untouched
    const bool isNew = isEmpty(*database);
    if (!isNew)
        requireLog(*database, file);
    database->exec("PRAGMA journal_mode = WAL");
    database->exec("PRAGMA journal_size_limit = " + std::to_string(kWalBytesKept));
    if (isNew) {
        database->exec("PRAGMA synchronous = FULL");
        createTables(*database);
        syncFolderOf(file);
    }
    return database;
}

LogFailure failureOf(const std::filesystem::path& file, const SQLite::Exception& failure) {
    using Reason = LogFailure::Reason;
    const std::string subject = "change log " + file.string();
    switch (failure.getErrorCode()) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return LogFailure(subject + " is locked by another process", Reason::Held);
        case SQLITE_NOTADB:
        case SQLITE_CORRUPT:
            return LogFailure(subject + " is damaged: " + failure.getErrorStr(), Reason::Damaged);
        case SQLITE_FULL:
            return LogFailure(subject + ": the disk is full", Reason::Full);
        case SQLITE_READONLY:
            return LogFailure(subject + " is read-only");
        default:
            return LogFailure(subject + ": " + failure.what());
    }
}

}  // namespace kelp::changelog
