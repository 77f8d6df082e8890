#include "database/retention.h"

#include <algorithm>

namespace kelp::oplog {

namespace {

/// Maximum number of records removed in one transaction, so that the removal does not delay the
/// writing for long.
constexpr std::int64_t kRecordsAtOnce = 20000;
/// The share that is removed when the database is too large: one twentieth of the records.
constexpr std::int64_t kPart = 20;

std::int64_t number(SQLite::Database& database, const std::string& query) {
    return database.execAndGet(query).getInt64();
}

bool isTooLarge(SQLite::Database& database, std::uint64_t bytesMax) {
    const std::int64_t pages =
        number(database, "PRAGMA page_count") - number(database, "PRAGMA freelist_count");
    return static_cast<std::uint64_t>(pages * number(database, "PRAGMA page_size")) > bytesMax;
}

/// The id of the first row that is not older than `oldest`, or the one after the last row.
std::int64_t firstYoung(SQLite::Database& database, const AgeingTable& table, UtcTime oldest,
                        std::int64_t lastId) {
    // the "+" keeps SQLite from using the index of times: in the order of the ids the search ends
    // at the first match
    SQLite::Statement query(database, std::string("SELECT id FROM ") + table.name + " WHERE +" +
                                          table.time + " >= ?1 ORDER BY id LIMIT 1");
    query.bind(1, static_cast<std::int64_t>(oldest.time_since_epoch().count()));
    return query.executeStep() ? query.getColumn(0).getInt64() : lastId + 1;
}

}  // namespace

std::optional<Removal> removeOldest(SQLite::Database& database, const AgeingTable& table,
                                    std::uint64_t bytesMax, std::optional<UtcTime> oldest) {
    const std::string name = table.name;
    const std::int64_t first = number(database, "SELECT coalesce(min(id), 0) FROM " + name);
    if (first == 0)
        return std::nullopt;
    const std::int64_t last = number(database, "SELECT max(id) FROM " + name);
    std::int64_t keep = oldest ? firstYoung(database, table, *oldest, last) : first;
    const bool isLarge = isTooLarge(database, bytesMax);
    if (isLarge)
        keep = std::max(keep, std::min(last, first + (last - first) / kPart + 1));
    const std::int64_t bound = std::min(keep, first + kRecordsAtOnce);
    if (bound <= first)
        return std::nullopt;

    Removal removal;
    removal.isMore = isLarge || bound < keep;
    SQLite::Statement youngest(database, "SELECT id, " + std::string(table.hash) + " FROM " + name +
                                             " WHERE id < ?1 ORDER BY id DESC LIMIT 1");
    youngest.bind(1, bound);
    if (!youngest.executeStep())
        return std::nullopt;
    removal.last.id = youngest.getColumn(0).getInt64();
    removal.last.hash = youngest.getColumn(1).getString();
    SQLite::Statement remove(database, "DELETE FROM " + name + " WHERE id < ?1");
    remove.bind(1, bound);
    remove.exec();
    return removal;
}

}  // namespace kelp::oplog
