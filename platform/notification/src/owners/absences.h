#pragma once

#include <kelp/notification/guard.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>

#include "owners/owner.h"

namespace kelp::notification {

/// Since when owners have been without permission to use the channel, and whose grace period is
/// over. These owners are addresses that may not use the channel, and log-ins that have ended. Used
/// by one thread at a time: begin(), isOver() for each owner, end().
class Absences {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// `guard` is borrowed. If it is null, no owner is ever absent.
    Absences(const Guard* guard, std::chrono::milliseconds grace) : guard_(guard), grace_(grace) {}

    void begin(Time now);
    /// Within one review the answer for an owner stays the same.
    bool isOver(const Owner& owner);
    /// Forget the owners that isOver() was not called for in this review, and those whose grace
    /// period is over. For objects that such an owner still has, a new grace period begins.
    void end();

  private:
    using Since = std::optional<Time>;

    bool isAbsent(const Owner& owner);
    /// False for an address that may not use the channel. Asks the guard once in a review.
    bool mayUse(const kelp::util::PeerAddress& address);

    const Guard* const guard_;
    const std::chrono::milliseconds grace_;
    Time now_{};
    std::map<std::string, Time> since_;  ///< by the owner's key
    std::map<std::string, Since> next_;  ///< of the review in progress
    /// Whether each address may use the channel, as found in the review in progress.
    std::map<std::string, bool> addresses_;
};

}  // namespace kelp::notification
