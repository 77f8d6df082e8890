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

enum class LogKind { Operations, Security };

/// Which records are wanted: those that meet every condition given. Gap records meet all but times.
struct KELP_EXPORT LogQuery {
    std::optional<UtcTime> since;  ///< at this moment or later
    std::optional<UtcTime> until;  ///< before this moment
    std::string user;
    std::string address;       ///< of the session or of the connection; without a port: any port
    std::string operation;     ///< in the security log the event's word
    std::string outcome;       ///< "failed" stands for every known outcome but "ok"
    std::uint64_t newest = 0;  ///< no more than so many, the newest; 0 all
};

/// Reads a log, of this process or another, while it is written: the writer never waits for a
/// reader, and a reader that is slow keeps no snapshot of the database. With the operation log its
/// part for callers without a log-in is read, if there is one; the records of both are given in the
/// order of their times, and their numbers are those of the part that each is in.
class KELP_EXPORT LogReader {
  public:
    /// Throws std::runtime_error with one sentence when there is no log of that kind.
    LogReader(const std::filesystem::path& database, LogKind kind);
    ~LogReader();
    LogReader(const LogReader&) = delete;
    LogReader& operator=(const LogReader&) = delete;

    /// Why the part for callers without a log-in is not read, in one sentence; empty when it is, or
    /// when there is none.
    const std::string& problem() const;

    /// Gives the matching records in the order of the log; `take` answers whether it wants more.
    /// Throws std::runtime_error with one sentence. Returns how many were given.
    std::uint64_t search(const LogQuery& query, const std::function<bool(const LogEntry&)>& take);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

/// A record as one line of JSON (with the keys of csvHeader()) and as one line of CSV (RFC 4180),
/// without the line's end. Fields that a record does not have are empty in CSV and left out in
/// JSON.
KELP_EXPORT std::string jsonOf(const LogEntry& entry);
KELP_EXPORT std::string csvOf(const LogEntry& entry);
KELP_EXPORT std::string csvHeader();

}  // namespace kelp::oplog
