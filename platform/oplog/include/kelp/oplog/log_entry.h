#pragma once

#include <kelp/util/export.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace kelp::oplog {

/// A wall-clock time in UTC with the resolution of the logs.
using UtcTime = std::chrono::sys_time<std::chrono::milliseconds>;

KELP_EXPORT UtcTime now();

/// "2025-03-01T12:00:00.123Z"
KELP_EXPORT std::string timeText(UtcTime time);
/// Parse a time in the format of timeText(). The fraction, the seconds, the time of day and the "Z"
/// may be missing, and a space may replace the "T". Empty for any other text.
KELP_EXPORT std::optional<UtcTime> timeOf(const std::string& text);

enum class LogKind { Operations, Security };

/// The kind of object that an operation was called on.
enum class ObjectKind { Unknown, Factory, Session, Manager, Iterator, Channel, Naming };

/// The kind of event that a record of the security log describes.
enum class SecurityEvent {
    LogIn,  ///< outcome "ok" or the reason of the refusal
    LogOut,
    RefusedAddress,      ///< a caller from a network that is not allowed to call
    RefusedConnection,   ///< a connection was closed because of the data it sent, or because there
                         ///< were too many
    RefusedPeer,         ///< a call on a session's object from another address than that of its NMS
    LockOut,             ///< a user or address was locked out
    UserAdministration,  ///< an account was created, changed or removed
    ConfigurationChange,  ///< the configuration was reloaded
    TooManyRequests,  ///< refused because the caller's address has no log-in and sends requests too
                      ///< fast
    NamingChange,  ///< the naming service: a change made by somebody else, or an entry that the EMS
                   ///< did not make
};

/// The event's name in the log, such as "login".
KELP_EXPORT std::string textOf(SecurityEvent event);

/// One record as the logs store and show it. Texts are escaped (see util::escaped) and bounded.
struct KELP_EXPORT LogEntry {
    std::int64_t id = 0;  ///< grows from record to record within a file
    UtcTime time{};
    std::string user;
    std::string nmsAddress;  ///< address and port in the session's name
    std::string peer;        ///< address and port of the connection
    std::string operation;   ///< in the security log: the event's name, such as "login"
    std::string objectKind;
    std::string object;
    std::string outcome;
    std::string detail;
    std::optional<std::chrono::microseconds> duration;
    /// If not 0, this is a gap record: the number of records that are missing from `time` to
    /// `until`.
    std::uint64_t missing = 0;
    UtcTime until{};
};

}  // namespace kelp::oplog
