#pragma once

#include <kelp/util/export.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace kelp::oplog {

/// A moment of the wall clock in UTC, as the logs keep it.
using UtcTime = std::chrono::sys_time<std::chrono::milliseconds>;

/// This moment.
KELP_EXPORT UtcTime now();

/// "2025-03-01T12:00:00.123Z"
KELP_EXPORT std::string timeText(UtcTime time);
/// The moment of a text as timeText() writes it; the fraction, the seconds, the whole time of day
/// and the "Z" may be missing, and a space may stand for the "T". None for anything else.
KELP_EXPORT std::optional<UtcTime> timeOf(const std::string& text);

/// What an operation was called on.
enum class ObjectKind { Unknown, Factory, Session, Manager, Iterator, Channel, Naming };

/// What a record of the security log tells.
enum class SecurityEvent {
    LogIn,  ///< outcome "ok" or the reason of the refusal
    LogOut,
    RefusedAddress,       ///< a caller from a network that may not call
    RefusedConnection,    ///< a connection was closed for what it brought, or was one too many
    RefusedPeer,          ///< a call on a session's object from another address than its NMS's
    LockOut,              ///< a user or address was locked out
    UserAdministration,   ///< an account was made, changed or removed
    ConfigurationChange,  ///< the configuration was read again
    TooManyRequests,      ///< refused: the caller's address is not logged in and asks too often
    NamingChange,  ///< the naming service: a modification from outside, or an entry that was not
                   ///< ours
};

/// One record as the logs keep and show it. Texts are escaped (see util::escaped) and bounded.
struct KELP_EXPORT LogEntry {
    std::int64_t id = 0;  ///< grows from one record of a file to the next
    UtcTime time{};
    std::string user;
    std::string nmsAddress;  ///< address and port in the session's name
    std::string peer;        ///< address and port of the connection
    std::string operation;   ///< in the security log: the event, such as "login"
    std::string objectKind;
    std::string object;
    std::string outcome;
    std::string detail;
    std::optional<std::chrono::microseconds> duration;
    /// More than 0: this is a gap record; so many records are missing from `time` to `until`.
    std::uint64_t missing = 0;
    UtcTime until{};
};

}  // namespace kelp::oplog
