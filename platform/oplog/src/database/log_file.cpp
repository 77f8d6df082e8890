#include "database/log_file.h"

#include <kelp/util/file_trust.h>
#include <kelp/util/private_file.h>
#include <sqlite3.h>

#include <system_error>
#include <thread>

#include "records/entry_rules.h"

namespace kelp::oplog {

namespace {

constexpr int kReadBusyMs = 2000;

constexpr const char* kSecuritySchema = R"(
CREATE TABLE record (
    id INTEGER PRIMARY KEY,
    time_ms INTEGER NOT NULL,
    user TEXT NOT NULL,
    nms TEXT NOT NULL,
    peer TEXT NOT NULL,
    operation TEXT NOT NULL,
    object_kind TEXT NOT NULL,
    object TEXT NOT NULL,
    outcome TEXT NOT NULL,
    detail TEXT NOT NULL,
    duration_us INTEGER,
    missing INTEGER NOT NULL,
    until_ms INTEGER NOT NULL,
    hash TEXT NOT NULL
) STRICT;
CREATE INDEX record_time ON record (time_ms);
CREATE INDEX record_gap ON record (until_ms) WHERE missing > 0;
CREATE TABLE head (one INTEGER PRIMARY KEY CHECK (one = 1), id INTEGER NOT NULL, hash TEXT NOT NULL) STRICT;
CREATE TABLE side_file (name TEXT PRIMARY KEY) STRICT;
)";

/// A row is a block of records. Its id is the number of its last record. A gap record, which stands
/// for `missing` records, is always a separate block.
constexpr const char* kOperationSchema = R"(
CREATE TABLE block (
    id INTEGER PRIMARY KEY,
    records INTEGER NOT NULL,
    missing INTEGER NOT NULL,
    from_ms INTEGER NOT NULL,
    until_ms INTEGER NOT NULL,
    data BLOB NOT NULL
) STRICT;
CREATE INDEX block_time ON block (until_ms);
CREATE TABLE last (one INTEGER PRIMARY KEY CHECK (one = 1), id INTEGER NOT NULL) STRICT;
CREATE TABLE side_file (name TEXT PRIMARY KEY) STRICT;
)";

struct Format {
    /// "KOPL" or "KAUD" in the file's header tells a log from another program's database.
    int applicationId;
    int version;
    const char* schema;
    const char* article;
    const char* name;
};

Format formatOf(LogKind kind) {
    return kind == LogKind::Operations
               ? Format{0x4B4F504C, 2, kOperationSchema, "an", "operation log"}
               : Format{0x4B415544, 1, kSecuritySchema, "a", "security log"};
}

int pragma(SQLite::Database& database, const char* name) {
    return database.execAndGet(std::string("PRAGMA ") + name).getInt();
}

void prepareSchema(SQLite::Database& database, LogKind kind) {
    if (pragma(database, "user_version") != 0)
        return;
    // two programs may find the file empty at the same moment, so the check is repeated inside the
    // transaction
    SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
    if (pragma(database, "user_version") != 0 ||
        database.execAndGet("SELECT count(*) FROM sqlite_schema").getInt() > 0)
        return;
    const Format format = formatOf(kind);
    database.exec(format.schema);
    database.exec("PRAGMA application_id = " + std::to_string(format.applicationId));
    database.exec("PRAGMA user_version = " + std::to_string(format.version));
    transaction.commit();
}

void requireKind(SQLite::Database& database, const std::filesystem::path& file, LogKind kind) {
    const Format format = formatOf(kind);
    if (pragma(database, "application_id") != format.applicationId)
        throw LogFailure(file.string() + " is not " + format.article + " " + format.name);
    if (const int version = pragma(database, "user_version"); version != format.version)
        throw LogFailure(std::string(format.name) + " " + file.string() + " has schema version " +
                         std::to_string(version) + "; this program knows version " +
                         std::to_string(format.version));
}

}  // namespace

const char* const kRecordColumns =
    "id, time_ms, user, nms, peer, operation, object_kind, object, outcome, detail, duration_us, "
    "missing, "
    "until_ms";

LogFailure failureOf(const std::filesystem::path& file, const SQLite::Exception& failure) {
    switch (failure.getErrorCode()) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return LogFailure(file.string() + " is locked by another process");
        case SQLITE_NOTADB:
        case SQLITE_CORRUPT:
            return LogFailure(file.string() + " is damaged: " + failure.getErrorStr(), true);
        default:
            return LogFailure(file.string() + ": " + failure.what());
    }
}

std::unique_ptr<SQLite::Database> openForWriting(const std::filesystem::path& file, LogKind kind,
                                                 std::chrono::milliseconds busy) {
    if (const std::string problem = util::makePrivateFile(file); !problem.empty())
        throw LogFailure(file.string() + ": " + problem);
    auto database = std::make_unique<SQLite::Database>(
        util::inRealFolder(file).string(), SQLite::OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW,
        static_cast<int>(busy.count()));
    // the pragmas would change a database of another kind, which must stay untouched
    if (pragma(*database, "user_version") != 0)
        requireKind(*database, file, kind);
    database->exec("PRAGMA auto_vacuum = INCREMENTAL");
    database->exec("PRAGMA journal_mode = WAL");
    database->exec(kind == LogKind::Operations ? "PRAGMA synchronous = NORMAL"
                                               : "PRAGMA synchronous = FULL");
    prepareSchema(*database, kind);
    requireKind(*database, file, kind);
    if (kind == LogKind::Security)
        database->exec(
            std::string(
                "CREATE INDEX IF NOT EXISTS record_key ON record (id) WHERE operation = '") +
            kKeyEvent + "'");
    return database;
}

namespace {

/// Wait up to 1 s for the tables: another process may be creating the log.
void awaitSchema(SQLite::Database& database) {
    constexpr int kLooks = 100;
    constexpr std::chrono::milliseconds kPause{10};
    for (int i = 0; i < kLooks && pragma(database, "user_version") == 0 &&
                    database.execAndGet("SELECT count(*) FROM sqlite_schema").getInt() == 0;
         ++i)
        std::this_thread::sleep_for(kPause);
}

}  // namespace

std::unique_ptr<SQLite::Database> openForReading(const std::filesystem::path& file, LogKind kind) {
    if (std::error_code error; !std::filesystem::exists(file, error))
        throw LogFailure(std::string(formatOf(kind).name) + " " + file.string() +
                         " does not exist");
    auto database =
        std::make_unique<SQLite::Database>(file.string(), SQLite::OPEN_READONLY, kReadBusyMs);
    awaitSchema(*database);
    requireKind(*database, file, kind);
    return database;
}

std::filesystem::path setAside(const std::filesystem::path& file) {
    const std::string base = file.string() + ".damaged-" + timeText(now());
    for (const char* const part : {"", "-wal", "-shm"}) {
        std::error_code error;
        std::filesystem::rename(file.string() + part, base + part, error);
        if (error && (*part == '\0' || error != std::errc::no_such_file_or_directory))
            throw LogFailure(file.string() + part +
                             " is damaged and cannot be set aside: " + error.message());
    }
    return base;
}

LogEntry entryOf(SQLite::Statement& row) {
    const auto text = [&row](int column) { return row.getColumn(column).getString(); };
    const auto time = [&row](int column) {
        return UtcTime(std::chrono::milliseconds(row.getColumn(column).getInt64()));
    };
    LogEntry entry;
    entry.id = row.getColumn(0).getInt64();
    entry.time = time(1);
    entry.user = text(2);
    entry.nmsAddress = text(3);
    entry.peer = text(4);
    entry.operation = text(5);
    entry.objectKind = text(6);
    entry.object = text(7);
    entry.outcome = text(8);
    entry.detail = text(9);
    if (!row.getColumn(10).isNull())
        entry.duration = std::chrono::microseconds(row.getColumn(10).getInt64());
    entry.missing = static_cast<std::uint64_t>(row.getColumn(11).getInt64());
    entry.until = time(12);
    return entry;
}

void bindEntry(SQLite::Statement& insert, const LogEntry& entry, int before) {
    insert.bind(before + 1, entry.id);
    insert.bind(before + 2, static_cast<std::int64_t>(entry.time.time_since_epoch().count()));
    insert.bindNoCopy(before + 3, entry.user);
    insert.bindNoCopy(before + 4, entry.nmsAddress);
    insert.bindNoCopy(before + 5, entry.peer);
    insert.bindNoCopy(before + 6, entry.operation);
    insert.bindNoCopy(before + 7, entry.objectKind);
    insert.bindNoCopy(before + 8, entry.object);
    insert.bindNoCopy(before + 9, entry.outcome);
    insert.bindNoCopy(before + 10, entry.detail);
    if (entry.duration)
        insert.bind(before + 11, static_cast<std::int64_t>(entry.duration->count()));
    else
        insert.bind(before + 11);
    insert.bind(before + 12, static_cast<std::int64_t>(entry.missing));
    insert.bind(before + 13, static_cast<std::int64_t>(entry.until.time_since_epoch().count()));
}

}  // namespace kelp::oplog
