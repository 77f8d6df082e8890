#include <kelp/oplog/log_search.h>
#include <kelp/oplog/log_settings.h>

#include <string>
#include <system_error>
#include <vector>

#include "reading/log_cursor.h"

namespace kelp::oplog {

struct LogReader::State {
    std::vector<LogCursor> parts;
    std::string problem;

    /// The part whose next record is the oldest; null after the last record.
    LogCursor* oldest() {
        LogCursor* found = nullptr;
        for (LogCursor& each : parts) {
            const LogEntry* const entry = each.next();
            if (entry != nullptr && (found == nullptr || entry->time < found->next()->time))
                found = &each;
        }
        return found;
    }
};

LogReader::LogReader(const std::filesystem::path& database, LogKind kind)
    : state_(std::make_unique<State>()) {
    state_->parts.emplace_back(database, kind);
    if (kind != LogKind::Operations)
        return;
    const std::filesystem::path beside = partBeforeLogIn(database);
    if (std::error_code error; !std::filesystem::exists(beside, error))
        return;
    try {
        state_->parts.emplace_back(beside, kind);
    } catch (const LogFailure& failure) {
        // the records of callers with a log-in can be read in any case
        state_->problem = failure.what();
    }
}

LogReader::~LogReader() = default;

const std::string& LogReader::problem() const {
    return state_->problem;
}

std::uint64_t LogReader::search(const LogQuery& query,
                                const std::function<bool(const LogEntry&)>& take) {
    const LogFilter filter(query);
    std::uint64_t found = 0;
    for (LogCursor& each : state_->parts) {
        each.begin(query, filter);
        found += each.newest();
    }
    // each part found up to query.newest records, so skip the oldest of them
    std::uint64_t tooOld = query.newest > 0 && found > query.newest ? found - query.newest : 0;
    std::uint64_t given = 0;
    while (LogCursor* const part = state_->oldest()) {
        if (tooOld > 0) {
            --tooOld;
        } else {
            ++given;
            if (!take(*part->next()))
                return given;
        }
        part->advance();
    }
    return given;
}

}  // namespace kelp::oplog
