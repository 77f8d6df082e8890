#pragma once

#include <kelp/notification/guard.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>

#include "owners/owner.h"

namespace kelp::notification {

/// Since when owners have been seen without permission to use the channel, and whose grace is over:
/// addresses that may not use it, and log-ins that have ended. For one thread at a time: begin(),
/// isOver() for each owner, end().
class Absences {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// `guard` is borrowed; with a null one nobody is ever absent.
    Absences(const Guard* guard, std::chrono::milliseconds grace) : guard_(guard), grace_(grace) {}

    void begin(Time now);
    /// Within a review the answer for an owner stays the same.
    bool isOver(const Owner& owner);
    /// Forgets who was not asked for, and those whose grace is over: what they have left begins
    /// anew.
    void end();

  private:
    using Since = std::optional<Time>;

    bool isAbsent(const Owner& owner);
    /// False for an address that may not use the channel; asked once a review.
    bool mayUse(const kelp::orb::PeerAddress& address);

    const Guard* const guard_;
    const std::chrono::milliseconds grace_;
    Time now_{};
    std::map<std::string, Time> since_;      ///< by the owner's key
    std::map<std::string, Since> next_;      ///< of the review that has begun
    std::map<std::string, bool> addresses_;  ///< likewise
};

}  // namespace kelp::notification
