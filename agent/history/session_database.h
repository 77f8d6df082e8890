#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "history/session_record.h"

namespace NS_KELPCORBA {

/// Which ended sessions to list, newest first. Empty members do not restrict.
struct EndedFilter {
    std::string user{};
    std::string nms{};
    std::optional<EndReason> reason{};
    std::optional<UtcMs> since{};           ///< ended at this time or later
    std::optional<UtcMs> until{};           ///< ended before this time
    std::optional<std::uint64_t> before{};  ///< only numbers below this one: the next page
    std::size_t limit = 100;
};

/// The SQLite file of the sessions, open or ended. Not thread safe; several objects may use one
/// file. Every operation throws SQLite::Exception, and the constructor std::runtime_error too.
class SessionDatabase {
  public:
    enum class Use { Write, Read };
    /// Open the file. For writing create a missing one. Throws when it belongs to another program
    /// or to a later version.
    SessionDatabase(const std::filesystem::path& file, Use use);

    /// Mark the sessions that another process of the host has left open as ended by its death, at
    /// the time that noteAlive() stored last.
    void closeLeftOpen();
    std::uint64_t lastNumber();
    /// Store a session, in place of what is stored under its number.
    void store(const SessionRecord& session);
    void noteAlive(UtcMs now);
    /// Remove the sessions that ended before `oldest`, and the oldest ones beyond `rowsMax`.
    void trim(UtcMs oldest, std::size_t rowsMax);

    std::vector<SessionRecord> ended(const EndedFilter& filter);
    /// The ended session with this number.
    std::optional<SessionRecord> endedWith(std::uint64_t number);

    SQLite::Database& connection() { return database_; }

  private:
    SQLite::Database database_;
};

}  // namespace NS_KELPCORBA
