#include <kelp/oplog/log_search.h>

#include <kelp/util/trace_log.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "log_file.h"

namespace kelp::oplog {

namespace {

/// Records read at once: between two readings no snapshot is kept.
constexpr std::size_t kPage = 1000;

/// The condition and what it is bound to, by name; for ids in a range.
class Condition {
  public:
    explicit Condition(const LogQuery& query) {
        // not by the index of times, which would make every page sort all that lies in them
        if (query.since)
            add("(+time_ms >= :since OR (missing > 0 AND until_ms >= :since))");
        if (query.until)
            add("+time_ms < :until");
        addText("user = :user", ":user", query.user);
        if (!query.address.empty())
            addText("(" + matches("nms") + " OR " + matches("peer") + ")", ":address", query.address);
        addText("operation = :operation", ":operation", query.operation);
        if (query.outcome == "failed")
            add("outcome <> 'ok' AND outcome <> ''");
        else
            addText("outcome = :outcome", ":outcome", query.outcome);
        if (!texts_.empty() || query.outcome == "failed")
            text_ = "(missing > 0 OR (" + others_ + "))" + (times_.empty() ? "" : " AND " + times_);
        else
            text_ = times_.empty() ? "1" : times_;
        since_ = query.since;
        until_ = query.until;
    }

    const std::string& text() const { return text_; }

    void bind(SQLite::Statement& statement) const {
        const auto number = [](UtcTime time) {
            return static_cast<std::int64_t>(time.time_since_epoch().count());
        };
        if (since_)
            statement.bind(":since", number(*since_));
        if (until_)
            statement.bind(":until", number(*until_));
        for (const auto& [name, value] : texts_)
            statement.bind(name, value);
    }

  private:
    /// An address without a port matches one with any port; an IPv6 one stands in brackets then.
    static std::string matches(const std::string& column) {
        const auto begins = [&column](const std::string& beginning) {
            return "substr(" + column + ", 1, length(" + beginning + ")) = " + beginning;
        };
        return column + " = :address OR " + begins("(:address || ':')") + " OR " +
               begins("('[' || :address || ']')");
    }
    void add(const std::string& term) {
        std::string& whole = term.find("time_ms") != std::string::npos ? times_ : others_;
        whole += (whole.empty() ? "" : " AND ") + term;
    }
    void addText(const std::string& term, const std::string& name, const std::string& value) {
        if (value.empty())
            return;
        add(term);
        // as the log keeps it
        texts_.emplace_back(name, util::escaped(value));
    }

    std::string text_;
    std::string times_;
    std::string others_;
    std::vector<std::pair<std::string, std::string>> texts_;
    std::optional<UtcTime> since_;
    std::optional<UtcTime> until_;
};

}  // namespace

struct LogReader::State {
    std::filesystem::path file;
    std::unique_ptr<SQLite::Database> database;

    std::int64_t number(const std::string& query, const std::function<void(SQLite::Statement&)>& bind) {
        SQLite::Statement statement(*database, query);
        bind(statement);
        return statement.executeStep() ? statement.getColumn(0).getInt64() : 0;
    }
    std::int64_t firstId(const LogQuery& query, const Condition& condition);
    std::vector<LogEntry> page(const Condition& condition, std::int64_t from, std::int64_t to);
};

std::int64_t LogReader::State::firstId(const LogQuery& query, const Condition& condition) {
    std::int64_t first = 0;
    if (query.since) {
        constexpr const char* kNone = "9223372036854775807";
        first = number(std::string("SELECT min((SELECT coalesce(min(id), ") + kNone +
                           ") FROM record WHERE time_ms >= :since), (SELECT coalesce(min(id), " + kNone +
                           ") FROM record WHERE missing > 0 AND until_ms >= :since))",
                       [&query](SQLite::Statement& statement) {
                           statement.bind(":since",
                                          static_cast<std::int64_t>(query.since->time_since_epoch().count()));
                       });
    }
    if (query.newest == 0)
        return first;
    const std::string nth = "SELECT id FROM record WHERE id >= " + std::to_string(first) + " AND " +
                            condition.text() + " ORDER BY id DESC LIMIT 1 OFFSET " +
                            std::to_string(query.newest - 1);
    return std::max(first,
                    number(nth, [&condition](SQLite::Statement& statement) { condition.bind(statement); }));
}

std::vector<LogEntry> LogReader::State::page(const Condition& condition, std::int64_t from, std::int64_t to) {
    SQLite::Statement rows(*database, "SELECT " + std::string(kRecordColumns) +
                                          " FROM record WHERE id >= " + std::to_string(from) +
                                          " AND id <= " + std::to_string(to) + " AND " + condition.text() +
                                          " ORDER BY id LIMIT " + std::to_string(kPage));
    condition.bind(rows);
    std::vector<LogEntry> entries;
    while (rows.executeStep())
        entries.push_back(entryOf(rows));
    return entries;
}

LogReader::LogReader(const std::filesystem::path& database, LogKind kind) {
    try {
        state_ = std::make_unique<State>(State{database, openForReading(database, kind)});
    } catch (const SQLite::Exception& failure) {
        throw failureOf(database, failure);
    }
}

LogReader::~LogReader() = default;

std::uint64_t LogReader::search(const LogQuery& query, const std::function<bool(const LogEntry&)>& take) {
    try {
        const Condition condition(query);
        // what is written meanwhile does not make the search endless
        const std::int64_t last =
            state_->number("SELECT coalesce(max(id), 0) FROM record", [](SQLite::Statement&) {});
        std::int64_t from = state_->firstId(query, condition);
        std::uint64_t given = 0;
        for (;;) {
            const std::vector<LogEntry> entries = state_->page(condition, from, last);
            for (const LogEntry& entry : entries) {
                ++given;
                if (!take(entry))
                    return given;
            }
            if (entries.size() < kPage)
                return given;
            from = entries.back().id + 1;
        }
    } catch (const SQLite::Exception& failure) {
        throw failureOf(state_->file, failure);
    }
}

}  // namespace kelp::oplog
