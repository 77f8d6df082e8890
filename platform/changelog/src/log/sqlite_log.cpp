#include "log/sqlite_log.h"

#include <stdexcept>
#include <thread>

#include "database/log_file.h"

namespace kelp::changelog {

namespace {

/// One step of a truncation takes a few milliseconds.
constexpr std::size_t kRemovedPerStep = 1000;

/// Between two steps of a truncation, so that a thread that waits to append gets its turn.
constexpr std::chrono::milliseconds kPauseBetweenSteps{1};

void requireWithinLimits(std::span<const NewRecord> records) {
    if (records.size() > kRecordsPerAppendMax)
        throw std::invalid_argument(
            "too many records in one append: " + std::to_string(records.size()) + ", at most " +
            std::to_string(kRecordsPerAppendMax));
    for (const NewRecord& record : records) {
        if (record.content.size() > kContentBytesMax)
            throw std::invalid_argument("a record has " + std::to_string(record.content.size()) +
                                        " bytes, at most " + std::to_string(kContentBytesMax) +
                                        " are allowed");
        if (record.key.size() > kKeyBytesMax)
            throw std::invalid_argument("an idempotency key has " +
                                        std::to_string(record.key.size()) + " bytes, at most " +
                                        std::to_string(kKeyBytesMax) + " are allowed");
    }
}

void requireMarkName(const std::string& name) {
    if (name.empty() || name.size() > kKeyBytesMax)
        throw std::invalid_argument("the name of a mark has " + std::to_string(name.size()) +
                                    " bytes, 1 to " + std::to_string(kKeyBytesMax) +
                                    " are allowed");
}

}  // namespace

std::unique_ptr<ChangeLog> openSqliteLog(const SqliteLogSettings& settings) {
    return translated(settings.file, [&] { return std::make_unique<SqliteLog>(settings); });
}

SqliteLog::SqliteLog(const SqliteLogSettings& settings)
    : hold_(holdLog(settings.file)), writer_(settings), reader_(settings), last_(writer_.last()) {}

std::vector<Appended> SqliteLog::append(std::span<const NewRecord> records) {
    requireWithinLimits(records);
    const util::MutexLock lock(writing_);
    if (writer_.needsNewWal()) {
        const util::MutexLock noReader(reading_);
        writer_.beginNewWal();
    }
    std::vector<Appended> results = writer_.append(records);
    const util::MutexLock published(following_);
    last_ = writer_.last();
    grown_.notify_all();
    return results;
}

std::optional<Position> SqliteLog::find(const std::string& key) {
    const util::MutexLock lock(writing_);
    return writer_.find(key);
}

std::vector<Record> SqliteLog::read(Position after, std::size_t recordsMax, std::size_t bytesMax) {
    const util::MutexLock lock(reading_);
    return reader_.read(after, recordsMax, bytesMax);
}

bool SqliteLog::waitFor(Position after, std::chrono::milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    const util::MutexLock lock(following_);
    while (last_ <= after)
        if (grown_.wait_until(following_, deadline) == std::cv_status::timeout)
            return last_ > after;
    return true;
}

Position SqliteLog::first() {
    const util::MutexLock lock(reading_);
    return reader_.first();
}

Position SqliteLog::last() {
    const util::MutexLock lock(following_);
    return last_;
}

void SqliteLog::truncateBelow(Position position) {
    for (bool isMore = true; isMore;) {
        {
            const util::MutexLock lock(writing_);
            isMore = writer_.removeBelow(position, kRemovedPerStep);
        }
        if (isMore)
            std::this_thread::sleep_for(kPauseBetweenSteps);
    }
}

Position SqliteLog::mark(const std::string& name) {
    requireMarkName(name);
    const util::MutexLock lock(writing_);
    return writer_.mark(name);
}

void SqliteLog::setMark(const std::string& name, Position position) {
    requireMarkName(name);
    const util::MutexLock lock(writing_);
    if (position > writer_.last())
        throw std::invalid_argument("mark " + name + " is above the last record");
    writer_.setMark(name, position);
}

}  // namespace kelp::changelog
