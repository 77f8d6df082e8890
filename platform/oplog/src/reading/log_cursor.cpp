#include "reading/log_cursor.h"

#include <algorithm>
#include <utility>

namespace kelp::oplog {

template <class Body>
auto LogCursor::guarded(Body body) {
    try {
        return body();
    } catch (const SQLite::Exception& failure) {
        throw failureOf(file_, failure);
    } catch (const LogFailure& failure) {
        throw LogFailure(file_.string() + ": " + failure.what(), failure.isDamage());
    }
}

LogCursor::LogCursor(const std::filesystem::path& file, LogKind kind) : file_(file) {
    try {
        database_ = openForReading(file, kind);
        pages_ = pagesOf(*database_, kind);
    } catch (const SQLite::Exception& failure) {
        throw failureOf(file, failure);
    }
}

void LogCursor::begin(const LogQuery& query, const LogFilter& filter) {
    guarded([&] {
        filter_ = &filter;
        page_.clear();
        at_ = 0;
        // records written during the search do not make it longer
        const std::int64_t previous = std::exchange(last_, pages_->lastId());
        from_ = query.since ? pages_->firstIdSince(*query.since) : 0;
        if (query.onlyNew)
            from_ = std::max(from_, previous + 1);
        if (query.newest > 0)
            findNewest(query.newest);
    });
}

/// Search backwards for the first of the newest `count` matching records.
void LogCursor::findNewest(std::uint64_t count) {
    newest_ = 0;
    for (std::int64_t to = last_; to >= from_;) {
        const std::vector<LogEntry> entries = pages_->last(from_, to);
        for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
            if (filter_->passes(*entry) && ++newest_ == count) {
                from_ = entry->id;
                return;
            }
        }
        if (entries.empty())
            return;
        to = entries.front().id - 1;
    }
}

const LogEntry* LogCursor::next() {
    return guarded([this]() -> const LogEntry* {
        for (;;) {
            for (; at_ < page_.size(); ++at_) {
                if (filter_->passes(page_[at_]))
                    return &page_[at_];
            }
            if (from_ > last_)
                return nullptr;
            page_ = pages_->first(from_, last_);
            at_ = 0;
            from_ = page_.empty() ? last_ + 1 : page_.back().id + 1;
        }
    });
}

void LogCursor::advance() {
    ++at_;
}

}  // namespace kelp::oplog
