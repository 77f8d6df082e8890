#include "database/retention.h"

#include <algorithm>

namespace kelp::oplog {

namespace {

/// A transaction's part, so that the writing never waits long for the removal.
constexpr std::int64_t kRecordsAtOnce = 20000;
/// Of what is there, when there is too much of it.
constexpr std::int64_t kPart = 20;

std::int64_t number(SQLite::Database& database, const std::string& query) {
    return database.execAndGet(query).getInt64();
}

bool isTooLarge(SQLite::Database& database, std::uint64_t bytesMax) {
    const std::int64_t pages =
        number(database, "PRAGMA page_count") - number(database, "PRAGMA freelist_count");
    return static_cast<std::uint64_t>(pages * number(database, "PRAGMA page_size")) > bytesMax;
}

/// The first row that is young enough, or the one after the last.
std::int64_t firstYoung(SQLite::Database& database, const AgeingTable& table, UtcTime oldest,
                        std::int64_t lastId) {
    // by the order of the rows, not by the index of times: it ends at the first young one
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
