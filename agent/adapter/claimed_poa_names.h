#pragma once

#include <chrono>
#include <string>

namespace NS_KELPCORBA {

class SessionSource;

/// The names of top POAs that live sessions have claimed. A source claims its name before it makes
/// its POA, and releases it when the POA has begun to be destroyed. Thus no log-in takes over the
/// POA of a session that is about to be torn down. Any thread may call it. Its lock is held with no
/// other.
class ClaimedPoaNames {
  public:
    /// Claim the name for `source`. Return false when another source holds it.
    static bool claim(const std::string& name, const SessionSource* source);
    static bool isOwner(const std::string& name, const SessionSource* source);
    /// Release the claim if `source` holds it, and wake the threads that wait for the name.
    static void giveUp(const std::string& name, const SessionSource* source);
    /// Whether no live source holds the name and no POA of this name is still being destroyed.
    static bool isFree(const std::string& name);
    /// Wait until the name is free, at most until `deadline` or until the process stops. Return
    /// whether it is free.
    static bool waitUntilFree(const std::string& name,
                              std::chrono::steady_clock::time_point deadline);
};

}  // namespace NS_KELPCORBA
