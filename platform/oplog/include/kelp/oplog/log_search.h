#pragma once

#include <kelp/oplog/log_entry.h>
#include <kelp/util/export.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kelp::oplog {

/// Selects the records that meet every given condition. For a gap record only the times are
/// checked.
struct KELP_EXPORT LogQuery {
    std::optional<UtcTime> since;  ///< at this moment or later
    std::optional<UtcTime> until;  ///< before this moment
    std::string user;
    std::string
        address;  ///< of the session or of the connection; without a port it matches any port
    std::string operation;     ///< in the security log: the event's name
    std::string outcome;       ///< "failed" matches every known outcome except "ok"
    std::uint64_t newest = 0;  ///< at most this number of records, the newest ones; 0: all
    /// Only records that were written after the previous search of the same reader began.
    bool onlyNew = false;
};

/// Reads a log of this or another process, also while it is being written. The writer never waits
/// for a reader. A slow reader does not keep a snapshot of the database open. If the operation log
/// has a part for callers without a log-in, both are read: records come in the order of their
/// times, and each has its number in its own part.
class KELP_EXPORT LogReader {
  public:
    /// Throws std::runtime_error with one sentence if there is no log of that kind.
    LogReader(const std::filesystem::path& database, LogKind kind);
    ~LogReader();
    LogReader(const LogReader&) = delete;
    LogReader& operator=(const LogReader&) = delete;

    /// Why the part for callers without a log-in cannot be read, as one sentence. Empty if it can
    /// be read or does not exist.
    const std::string& problem() const;

    /// Pass the matching records to `take`, in the order of the log, until it returns false.
    /// Returns the number of records passed. Throws std::runtime_error with one sentence.
    std::uint64_t search(const LogQuery& query, const std::function<bool(const LogEntry&)>& take);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

/// A record as one line of JSON (with the keys of csvHeader()) or of CSV (RFC 4180), without the
/// line end. A field that a record does not have is empty in CSV and left out in JSON.
KELP_EXPORT std::string jsonOf(const LogEntry& entry);
KELP_EXPORT std::string csvOf(const LogEntry& entry);
KELP_EXPORT std::string csvHeader();

}  // namespace kelp::oplog
