#pragma once

#include <optional>
#include <string_view>

namespace NS_KELPCORBA {

/// Why a session ended.
enum class EndReason {
    None,          ///< it has not ended
    LogOut,        ///< its NMS called endSession
    Replaced,      ///< its NMS logged in again
    Dead,          ///< its NMS did not answer the pings
    Silent,        ///< its NMS neither called nor answered for the silent time
    Limit,         ///< more sessions than [session] max_sessions; it was the oldest
    UserDisabled,  ///< its account was disabled, removed, changed, or has expired
    HostStopped,
    HostKilled,  ///< the host ended without ending its sessions
    Operator,    ///< the operator ended it, or drained the host
    Failed       ///< its log-in could not be completed
};

/// The reason's word in the operator's interface, such as "log-out". "none" for None.
std::string_view wordOf(EndReason reason);
/// The reason with this word. Empty for an unknown word and for "none".
std::optional<EndReason> endReasonOf(std::string_view word);
/// All words except "none", separated by commas, for messages.
std::string_view endReasonWords();

}  // namespace NS_KELPCORBA
