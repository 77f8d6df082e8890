#include "reading/record_pages.h"

#include <algorithm>
#include <limits>
#include <string>

#include "database/log_file.h"
#include "records/block_codec.h"

namespace kelp::oplog {

namespace {

constexpr std::int64_t kNone = std::numeric_limits<std::int64_t>::max();

class Pages : public RecordPages {
  public:
    Pages(SQLite::Database& database, const char* table) : database_(database), table_(table) {}

    std::int64_t lastId() override {
        return database_.execAndGet("SELECT coalesce(max(id), 0) FROM " + std::string(table_))
            .getInt64();
    }

  protected:
    /// Prepare the query and bind its first parameters to `bound`.
    SQLite::Statement prepared(const std::string& query,
                               std::initializer_list<std::int64_t> bound) {
        SQLite::Statement statement(database_, query);
        int place = 0;
        for (const std::int64_t each : bound)
            statement.bind(++place, each);
        return statement;
    }
    std::int64_t idOrNone(const std::string& query, UtcTime since) {
        SQLite::Statement statement = prepared(query, {since.time_since_epoch().count()});
        return statement.executeStep() && !statement.getColumn(0).isNull()
                   ? statement.getColumn(0).getInt64()
                   : kNone;
    }

  private:
    SQLite::Database& database_;
    const char* table_;
};

class RowPages final : public Pages {
  public:
    explicit RowPages(SQLite::Database& database) : Pages(database, "record") {}

    std::int64_t firstIdSince(UtcTime since) override {
        return std::min(
            idOrNone("SELECT min(id) FROM record WHERE time_ms >= ?1", since),
            idOrNone("SELECT min(id) FROM record WHERE missing > 0 AND until_ms >= ?1", since));
    }
    std::vector<LogEntry> first(std::int64_t from, std::int64_t to) override {
        return page(from, to, "ASC");
    }
    std::vector<LogEntry> last(std::int64_t from, std::int64_t to) override {
        std::vector<LogEntry> entries = page(from, to, "DESC");
        std::reverse(entries.begin(), entries.end());
        return entries;
    }

  private:
    std::vector<LogEntry> page(std::int64_t from, std::int64_t to, const std::string& order) {
        SQLite::Statement rows = prepared(
            "SELECT " + std::string(kRecordColumns) +
                " FROM record WHERE id >= ?1 AND id <= ?2 ORDER BY id " + order + " LIMIT 1000",
            {from, to});
        std::vector<LogEntry> entries;
        while (rows.executeStep())
            entries.push_back(entryOf(rows));
        return entries;
    }
};

class BlockPages final : public Pages {
  public:
    explicit BlockPages(SQLite::Database& database) : Pages(database, "block") {}

    std::int64_t firstIdSince(UtcTime since) override {
        return idOrNone("SELECT min(id - records + 1) FROM block WHERE until_ms >= ?1", since);
    }
    std::vector<LogEntry> first(std::int64_t from, std::int64_t to) override {
        return block("id >= ?1 AND id - records < ?2 ORDER BY id ASC", from, to);
    }
    std::vector<LogEntry> last(std::int64_t from, std::int64_t to) override {
        return block(
            "id >= ?1 AND id <= coalesce((SELECT min(id) FROM block WHERE id >= ?2), ?2) AND id - "
            "records < "
            "?2 "
            "ORDER BY id DESC",
            from, to);
    }

  private:
    std::vector<LogEntry> block(const std::string& condition, std::int64_t from, std::int64_t to) {
        SQLite::Statement row =
            prepared("SELECT id, records, missing, until_ms, data FROM block WHERE " + condition +
                         " LIMIT 1",
                     {from, to});
        if (!row.executeStep())
            return {};
        const std::int64_t lastId = row.getColumn(0).getInt64();
        const std::int64_t records = row.getColumn(1).getInt64();
        const SQLite::Column data = row.getColumn(4);
        std::vector<LogEntry> entries = decodeBlock(
            {static_cast<const char*>(data.getBlob()), static_cast<std::size_t>(data.getBytes())},
            static_cast<std::size_t>(records));
        for (std::size_t i = 0; i < entries.size(); ++i)
            entries[i].id = lastId - records + 1 + static_cast<std::int64_t>(i);
        if (const std::int64_t missing = row.getColumn(2).getInt64(); missing > 0) {
            entries.back().missing = static_cast<std::uint64_t>(missing);
            entries.back().until = UtcTime(std::chrono::milliseconds(row.getColumn(3).getInt64()));
        }
        std::erase_if(entries,
                      [from, to](const LogEntry& each) { return each.id < from || each.id > to; });
        return entries;
    }
};

}  // namespace

std::unique_ptr<RecordPages> pagesOf(SQLite::Database& database, LogKind kind) {
    if (kind == LogKind::Security)
        return std::make_unique<RowPages>(database);
    return std::make_unique<BlockPages>(database);
}

}  // namespace kelp::oplog
