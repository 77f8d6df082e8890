#include <kelp/oplog/log_search.h>

#include <algorithm>
#include <utility>

#include "log_file.h"
#include "log_filter.h"
#include "record_pages.h"

namespace kelp::oplog {

struct LogReader::State {
    std::filesystem::path file;
    std::unique_ptr<SQLite::Database> database;
    std::unique_ptr<RecordPages> pages;

    std::uint64_t search(const LogQuery& query, const std::function<bool(const LogEntry&)>& take);
    std::int64_t firstOfNewest(const LogFilter& filter, std::uint64_t count, std::int64_t from,
                               std::int64_t to);
};

/// From the end: the number of the wanted record with `count` - 1 of them behind it, or `from`.
std::int64_t LogReader::State::firstOfNewest(const LogFilter& filter, std::uint64_t count, std::int64_t from,
                                             std::int64_t to) {
    while (to >= from) {
        const std::vector<LogEntry> entries = pages->last(from, to);
        for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
            if (filter.passes(*entry) && --count == 0)
                return entry->id;
        }
        if (entries.empty())
            break;
        to = entries.front().id - 1;
    }
    return from;
}

std::uint64_t LogReader::State::search(const LogQuery& query,
                                       const std::function<bool(const LogEntry&)>& take) {
    const LogFilter filter(query);
    // what is written meanwhile does not make the search endless
    const std::int64_t last = pages->lastId();
    std::int64_t from = query.since ? pages->firstIdSince(*query.since) : 0;
    if (query.newest > 0)
        from = firstOfNewest(filter, query.newest, from, last);
    std::uint64_t given = 0;
    while (from <= last) {
        const std::vector<LogEntry> entries = pages->first(from, last);
        for (const LogEntry& entry : entries) {
            if (!filter.passes(entry))
                continue;
            ++given;
            if (!take(entry))
                return given;
        }
        if (entries.empty())
            return given;
        from = entries.back().id + 1;
    }
    return given;
}

LogReader::LogReader(const std::filesystem::path& database, LogKind kind) {
    try {
        state_ = std::make_unique<State>(State{database, openForReading(database, kind), nullptr});
        state_->pages = pagesOf(*state_->database, kind);
    } catch (const SQLite::Exception& failure) {
        throw failureOf(database, failure);
    }
}

LogReader::~LogReader() = default;

std::uint64_t LogReader::search(const LogQuery& query, const std::function<bool(const LogEntry&)>& take) {
    try {
        return state_->search(query, take);
    } catch (const SQLite::Exception& failure) {
        throw failureOf(state_->file, failure);
    } catch (const LogFailure& failure) {
        throw LogFailure(state_->file.string() + ": " + failure.what(), failure.isDamage());
    }
}

}  // namespace kelp::oplog
