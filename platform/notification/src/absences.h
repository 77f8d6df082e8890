#pragma once

#include <kelp/notification/guard.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>

namespace kelp::notification {

/// Since when addresses have been seen without permission to use the channel, and whose grace is over. For
/// one thread at a time: begin(), isOver() for each proxy's owner, end().
class Absences {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// `guard` is borrowed; with a null one nobody is ever absent.
    Absences(const Guard* guard, std::chrono::milliseconds grace) : guard_(guard), grace_(grace) {}

    void begin(Time now);
    /// False for a proxy made inside the process. Within a review the answer for an address stays the same.
    bool isOver(const std::optional<kelp::orb::PeerAddress>& owner);
    /// Forgets who was not asked for, and those whose grace is over: they own no proxies any more.
    void end();

  private:
    struct Verdict {
        std::optional<Time> since;
        bool isOver = false;
    };

    const Guard* const guard_;
    const std::chrono::milliseconds grace_;
    Time now_{};
    std::map<std::string, Time> since_;
    std::map<std::string, Verdict> verdicts_;  ///< of the review that has begun
};

}  // namespace kelp::notification
