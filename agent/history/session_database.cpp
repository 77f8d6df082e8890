#include "history/session_database.h"

#include <kelp/util/private_file.h>
#include <sqlite3.h>

#include <algorithm>
#include <stdexcept>

namespace NS_KELPCORBA {
namespace {

/// "KSES" in the file's header tells this database from those of other programs.
constexpr int kApplicationId = 0x4B534553;
constexpr int kSchemaVersion = 1;
/// Somebody may read the file with SQLite's own tool.
constexpr int kBusyMs = 2000;
constexpr int kWalBytesKept = 1 << 20;

constexpr const char* kSchema = R"(
CREATE TABLE session (
    number INTEGER PRIMARY KEY,
    user TEXT NOT NULL,
    nms TEXT NOT NULL,
    peer TEXT NOT NULL,
    tls_peer TEXT NOT NULL,
    started INTEGER NOT NULL,
    ended INTEGER,
    reason TEXT NOT NULL,
    by_whom TEXT NOT NULL,
    sent INTEGER NOT NULL,
    delivered INTEGER NOT NULL,
    lost INTEGER NOT NULL,
    queued INTEGER NOT NULL,
    calls INTEGER NOT NULL
) STRICT;
CREATE INDEX session_ended ON session (ended);
CREATE TABLE alive (one INTEGER PRIMARY KEY CHECK (one = 1), at INTEGER NOT NULL) STRICT;
)";

constexpr const char* kColumns =
    "number, user, nms, peer, tls_peer, started, ended, reason, by_whom, sent, delivered, lost, "
    "queued, calls";

std::string writable(const std::filesystem::path& file, SessionDatabase::Use use) {
    if (use == SessionDatabase::Use::Write)
        kelp::util::requirePrivateFile(file);
    return file.string();
}

int flagsFor(SessionDatabase::Use use) {
    const int mode =
        use == SessionDatabase::Use::Write ? SQLite::OPEN_READWRITE : SQLite::OPEN_READONLY;
    return mode | SQLite::OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW;
}

int numberOf(SQLite::Database& database, const char* pragma) {
    return database.execAndGet(std::string("PRAGMA ") + pragma).getInt();
}

std::int64_t stored(std::uint64_t value) {
    return static_cast<std::int64_t>(value);
}

std::int64_t stored(UtcMs time) {
    return time.time_since_epoch().count();
}

std::uint64_t countAt(SQLite::Statement& row, int column) {
    return static_cast<std::uint64_t>(std::max<std::int64_t>(0, row.getColumn(column).getInt64()));
}

UtcMs timeAt(SQLite::Statement& row, int column) {
    return UtcMs(std::chrono::milliseconds(row.getColumn(column).getInt64()));
}

SessionRecord recordIn(SQLite::Statement& row) {
    SessionRecord session;
    session.number = countAt(row, 0);
    session.user = row.getColumn(1).getString();
    session.nms = row.getColumn(2).getString();
    session.peer = row.getColumn(3).getString();
    session.tlsPeer = row.getColumn(4).getString();
    session.started = timeAt(row, 5);
    session.ended = timeAt(row, 6);
    session.reason = endReasonOf(row.getColumn(7).getString()).value_or(EndReason::None);
    session.by = row.getColumn(8).getString();
    session.events = {countAt(row, 9), countAt(row, 10), countAt(row, 11), countAt(row, 12)};
    session.calls = countAt(row, 13);
    return session;
}

void createSchema(SQLite::Database& database) {
    SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
    database.exec(kSchema);
    database.exec("PRAGMA application_id = " + std::to_string(kApplicationId));
    database.exec("PRAGMA user_version = " + std::to_string(kSchemaVersion));
    transaction.commit();
}

}  // namespace

SessionDatabase::SessionDatabase(const std::filesystem::path& file, Use use)
    : database_(writable(file, use), flagsFor(use), kBusyMs) {
    const bool isEmpty = database_.execAndGet("SELECT count(*) FROM sqlite_schema").getInt() == 0;
    if (isEmpty && use == Use::Write && numberOf(database_, "application_id") == 0) {
        database_.exec("PRAGMA journal_mode = WAL");
        createSchema(database_);
    }
    if (numberOf(database_, "application_id") != kApplicationId)
        throw std::runtime_error(file.string() + " is not a file of ended sessions");
    if (numberOf(database_, "user_version") != kSchemaVersion)
        throw std::runtime_error(file.string() + " has a version that this program does not know");
    if (use == Use::Write) {
        // the end of a session need not survive a power cut
        database_.exec("PRAGMA synchronous = NORMAL");
        database_.exec("PRAGMA journal_size_limit = " + std::to_string(kWalBytesKept));
    }
}

void SessionDatabase::closeLeftOpen() {
    SQLite::Statement update(
        database_,
        "UPDATE session SET reason = ?, by_whom = 'EMS', "
        "ended = max(started, coalesce((SELECT at FROM alive), started)) WHERE ended IS NULL");
    update.bind(1, std::string(wordOf(EndReason::HostKilled)));
    update.exec();
}

std::uint64_t SessionDatabase::lastNumber() {
    SQLite::Statement query(database_, "SELECT coalesce(max(number), 0) FROM session");
    query.executeStep();
    return countAt(query, 0);
}

void SessionDatabase::store(const SessionRecord& session) {
    SQLite::Statement insert(database_, std::string("INSERT OR REPLACE INTO session (") + kColumns +
                                            ") VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?)");
    insert.bind(1, stored(session.number));
    insert.bind(2, session.user);
    insert.bind(3, session.nms);
    insert.bind(4, session.peer);
    insert.bind(5, session.tlsPeer);
    insert.bind(6, stored(session.started));
    if (session.reason != EndReason::None)
        insert.bind(7, stored(session.ended));
    insert.bind(8, std::string(wordOf(session.reason)));
    insert.bind(9, session.by);
    insert.bind(10, stored(session.events.sent));
    insert.bind(11, stored(session.events.delivered));
    insert.bind(12, stored(session.events.lost));
    insert.bind(13, stored(session.events.queued));
    insert.bind(14, stored(session.calls));
    insert.exec();
}

void SessionDatabase::noteAlive(UtcMs now) {
    SQLite::Statement update(database_, "INSERT OR REPLACE INTO alive VALUES (1, ?)");
    update.bind(1, stored(now));
    update.exec();
}

void SessionDatabase::trim(UtcMs oldest, std::size_t rowsMax) {
    SQLite::Statement old(database_, "DELETE FROM session WHERE ended < ?");
    old.bind(1, stored(oldest));
    old.exec();
    SQLite::Statement excess(database_,
                             "DELETE FROM session WHERE number IN (SELECT number FROM session "
                             "WHERE ended IS NOT NULL ORDER BY number DESC LIMIT -1 OFFSET ?)");
    excess.bind(1, static_cast<std::int64_t>(rowsMax));
    excess.exec();
}

std::vector<SessionRecord> SessionDatabase::ended(const EndedFilter& filter) {
    std::string sql = std::string("SELECT ") + kColumns + " FROM session WHERE ended IS NOT NULL";
    const auto add = [&sql](bool isWanted, const char* condition) {
        if (isWanted)
            sql += std::string(" AND ") + condition;
    };
    add(!filter.user.empty(), "user = :user");
    add(!filter.nms.empty(), "nms = :nms");
    add(filter.reason.has_value(), "reason = :reason");
    add(filter.since.has_value(), "ended >= :since");
    add(filter.until.has_value(), "ended < :until");
    add(filter.before.has_value(), "number < :before");
    SQLite::Statement query(database_, sql + " ORDER BY number DESC LIMIT :limit");
    if (!filter.user.empty())
        query.bind(":user", filter.user);
    if (!filter.nms.empty())
        query.bind(":nms", filter.nms);
    if (filter.reason)
        query.bind(":reason", std::string(wordOf(*filter.reason)));
    if (filter.since)
        query.bind(":since", stored(*filter.since));
    if (filter.until)
        query.bind(":until", stored(*filter.until));
    if (filter.before)
        query.bind(":before", stored(*filter.before));
    query.bind(":limit", static_cast<std::int64_t>(filter.limit));
    std::vector<SessionRecord> found;
    while (query.executeStep())
        found.push_back(recordIn(query));
    return found;
}

std::optional<SessionRecord> SessionDatabase::endedWith(std::uint64_t number) {
    SQLite::Statement query(database_, std::string("SELECT ") + kColumns +
                                           " FROM session WHERE number = ? AND ended IS NOT NULL");
    query.bind(1, stored(number));
    if (!query.executeStep())
        return std::nullopt;
    return recordIn(query);
}

}  // namespace NS_KELPCORBA
