#pragma once

#include <chrono>
#include <string>

namespace NS_KELPCORBA {

class SessionSource;

/// Which names of top POAs belong to live sessions. A source claims its name before it makes its
/// POA and gives it up when the POA has begun to die, so that no log-in adopts the POA of a session
/// that is about to be torn down. Callable from any thread; its lock is held with no other.
class TopPoaNames {
  public:
    /// False when another source has the name.
    static bool claim(const std::string& name, const SessionSource* source);
    static bool isOwner(const std::string& name, const SessionSource* source);
    /// Gives up `source`'s claim, if it has it, and wakes who waits for the name.
    static void giveUp(const std::string& name, const SessionSource* source);
    /// No live source has the name and no POA of this name is still being destroyed.
    static bool isFree(const std::string& name);
    /// Waits until the name is free, at most until `deadline` and not while the process stops;
    /// false when it is not free by then.
    static bool waitUntilFree(const std::string& name,
                              std::chrono::steady_clock::time_point deadline);
};

}  // namespace NS_KELPCORBA
