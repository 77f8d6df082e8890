#include "log/log_writer.h"

#include <sqlite3.h>

#include <algorithm>

#include "database/log_file.h"
#include "database/reset_at_end.h"
#include "log/checksum.h"

namespace kelp::changelog {

LogWriter::LogWriter(const SqliteLogSettings& settings)
    : settings_(settings),
      database_(openForWriting(settings.file, settings.vfs)),
      findKey_(*database_, "SELECT position FROM record WHERE key = ?"),
      insert_(*database_,
              "INSERT INTO record (position, key, content, checksum) VALUES (?, ?, ?, ?)"),
      updateSpan_(*database_, "UPDATE span SET first = ?, last = ?"),
      remove_(*database_, "DELETE FROM record WHERE position < ?"),
      findMark_(*database_, "SELECT position FROM mark WHERE name = ?"),
      updateMark_(*database_,
                  "INSERT INTO mark (name, position) VALUES (?, ?) ON CONFLICT (name) "
                  "DO UPDATE SET position = excluded.position") {
    database_->exec("PRAGMA synchronous = NORMAL");
    SQLite::Statement span(*database_, "SELECT first, last FROM span");
    if (!span.executeStep())
        throw LogFailure("change log " + settings.file.string() + " is damaged: it has no span",
                         LogFailure::Reason::Damaged);
    first_ = static_cast<Position>(span.getColumn(0).getInt64());
    last_ = static_cast<Position>(span.getColumn(1).getInt64());
}

std::vector<Appended> LogWriter::append(std::span<const NewRecord> records) {
    Position last = last_;
    std::vector<Appended> results;
    results.reserve(records.size());
    inTransaction(settings_.syncEveryCommit, [&] {
        for (const NewRecord& record : records) {
            const auto repeated = record.key.empty() ? std::nullopt : positionOf(record.key);
            if (!repeated)
                insert(++last, record);
            results.push_back({repeated.value_or(last), repeated.has_value()});
        }
        writeSpan(first_, last);
    });
    last_ = last;
    return results;
}

std::optional<Position> LogWriter::find(const std::string& key) {
    return translated(settings_.file, [&] { return positionOf(key); });
}

bool LogWriter::removeBelow(Position position, std::size_t recordsMax) {
    const Position end = std::min(position, last_ + 1);
    const Position first = std::min(end, first_ + recordsMax);
    if (first <= first_)
        return false;
    // records that are removed may come back after a power cut
    inTransaction(false, [&] {
        const ResetAtEnd reset(remove_);
        remove_.bind(1, static_cast<std::int64_t>(first));
        remove_.exec();
        writeSpan(first, last_);
    });
    first_ = first;
    return first_ < end;
}

Position LogWriter::mark(const std::string& name) {
    return translated(settings_.file, [&]() -> Position {
        const ResetAtEnd reset(findMark_);
        findMark_.bindNoCopy(1, name);
        return findMark_.executeStep() ? static_cast<Position>(findMark_.getColumn(0).getInt64())
                                       : 0;
    });
}

void LogWriter::setMark(const std::string& name, Position position) {
    // not synced: what the WAL file has after a power cut ends at some record or mark, and has all
    // before it
    inTransaction(false, [&] {
        const ResetAtEnd reset(updateMark_);
        updateMark_.bindNoCopy(1, name);
        updateMark_.bind(2, static_cast<std::int64_t>(position));
        updateMark_.exec();
    });
}

void LogWriter::beginNewWal() {
    const bool isRefused = translated(settings_.file, [&] {
        setSynchronous(true);
        return database_->execAndGet("PRAGMA wal_checkpoint(TRUNCATE)").getInt() != 0;
    });
    if (isRefused)
        throw LogFailure("change log " + settings_.file.string() +
                         " cannot recover from a failed write: another process reads it");
    needsNewWal_ = false;
}

template <class Body>
void LogWriter::inTransaction(bool isSynced, Body&& body) {
    try {
        setSynchronous(isSynced);
        SQLite::Transaction transaction(*database_, SQLite::TransactionBehavior::IMMEDIATE);
        body();
        transaction.commit();
    } catch (const SQLite::Exception& failure) {
        needsNewWal_ = needsNewWal_ || failure.getErrorCode() == SQLITE_IOERR;
        throw failureOf(settings_.file, failure);
    }
}

/// Has no effect inside a transaction.
void LogWriter::setSynchronous(bool isSynced) {
    if (isSynced == isSynced_)
        return;
    database_->exec(isSynced ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = NORMAL");
    isSynced_ = isSynced;
}

std::optional<Position> LogWriter::positionOf(const std::string& key) {
    const ResetAtEnd reset(findKey_);
    findKey_.bindNoCopy(1, key.data(), static_cast<int>(key.size()));
    if (!findKey_.executeStep())
        return std::nullopt;
    return static_cast<Position>(findKey_.getColumn(0).getInt64());
}

void LogWriter::insert(Position position, const NewRecord& record) {
    const ResetAtEnd reset(insert_);
    insert_.bind(1, static_cast<std::int64_t>(position));
    if (record.key.empty())
        insert_.bind(2);
    else
        insert_.bindNoCopy(2, record.key.data(), static_cast<int>(record.key.size()));
    // an empty text is no null pointer, which would bind NULL
    insert_.bindNoCopy(3, record.content.data(), static_cast<int>(record.content.size()));
    insert_.bind(4, checksumOf(position, record.key, record.content));
    insert_.exec();
}

void LogWriter::writeSpan(Position first, Position last) {
    const ResetAtEnd reset(updateSpan_);
    updateSpan_.bind(1, static_cast<std::int64_t>(first));
    updateSpan_.bind(2, static_cast<std::int64_t>(last));
    updateSpan_.exec();
}

}  // namespace kelp::changelog
