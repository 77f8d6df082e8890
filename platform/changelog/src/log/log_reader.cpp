#include "log/log_reader.h"

#include <algorithm>
#include <string_view>

#include "database/log_file.h"
#include "database/reset_at_end.h"
#include "log/checksum.h"

namespace kelp::changelog {

namespace {

/// Valid until the statement's next step.
std::string_view bytesOf(SQLite::Statement& row, int column) {
    const SQLite::Column value = row.getColumn(column);
    const void* const bytes = value.getBlob();
    return bytes == nullptr ? std::string_view()
                            : std::string_view(static_cast<const char*>(bytes),
                                               static_cast<std::size_t>(value.getBytes()));
}

}  // namespace

LogReader::LogReader(const SqliteLogSettings& settings)
    : file_(settings.file),
      database_(connect(settings.file, settings.vfs)),
      span_(*database_, "SELECT first, last FROM span"),
      records_(*database_,
               "SELECT position, key, content, checksum FROM record WHERE position >= ? "
               "ORDER BY position") {
    // not opened read-only: SQLite may have to repair the WAL file before it can read
    database_->exec("PRAGMA query_only = ON");
}

std::vector<Record> LogReader::read(Position after, std::size_t recordsMax, std::size_t bytesMax) {
    return translated(file_, [&] { return readInOrder(after, recordsMax, bytesMax); });
}

Position LogReader::first() {
    return translated(file_, [&] { return readSpan().first; });
}

std::vector<Record> LogReader::readInOrder(Position after, std::size_t recordsMax,
                                           std::size_t bytesMax) {
    std::vector<Record> records;
    // both statements must see the same state of the file
    SQLite::Transaction snapshot(*database_);
    const Span span = readSpan();
    if (after >= span.last)
        return records;
    std::size_t bytes = 0;
    const ResetAtEnd reset(records_);
    Position next = std::max(after + 1, span.first);
    records_.bind(1, static_cast<std::int64_t>(next));
    for (; next <= span.last && records.size() < recordsMax; ++next) {
        if (!records_.executeStep() ||
            static_cast<Position>(records_.getColumn(0).getInt64()) != next)
            throw damaged(next, "is missing");
        const std::string_view content = bytesOf(records_, 2);
        if (!records.empty() && bytes + content.size() > bytesMax)
            break;
        if (records_.getColumn(3).getInt64() != checksumOf(next, bytesOf(records_, 1), content))
            throw damaged(next, "is not as it was written");
        bytes += content.size();
        records.push_back({next, std::string(content)});
    }
    return records;
}

LogReader::Span LogReader::readSpan() {
    const ResetAtEnd reset(span_);
    if (!span_.executeStep())
        throw LogFailure("change log " + file_.string() + " is damaged: it has no span",
                         LogFailure::Reason::Damaged);
    return {static_cast<Position>(span_.getColumn(0).getInt64()),
            static_cast<Position>(span_.getColumn(1).getInt64())};
}

LogFailure LogReader::damaged(Position position, const std::string& what) const {
    return LogFailure("change log " + file_.string() + " is damaged: record " +
                          std::to_string(position) + " " + what,
                      LogFailure::Reason::Damaged);
}

}  // namespace kelp::changelog
