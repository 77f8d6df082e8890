#pragma once

#include "subscription.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelp::notification {

/// Consumers that did not answer, with the times of their next turns. Owners take turns, whatever the number
/// of their consumers: however many of one owner hang, another's that comes back is heard soon. Not thread
/// safe.
class SlowTurns {
  public:
    using Time = Subscription::Clock::time_point;

    void add(const std::string& owner, Time when, std::shared_ptr<Subscription> subscription);
    /// Of those whose time has come, the first of the owner whose last turn is longest ago; null without one.
    std::shared_ptr<Subscription> takeDue(Time now);
    /// The next time of all; none when there is nobody.
    std::optional<Time> nextTime() const;
    bool empty() const { return !nextTime(); }
    /// All of them, in any order.
    std::vector<std::shared_ptr<Subscription>> takeAll();

  private:
    struct Owner {
        std::multimap<Time, std::shared_ptr<Subscription>> waiting;
        std::uint64_t lastTurn = 0;
    };

    void forgetOld();

    std::map<std::string, Owner> owners_;
    std::uint64_t turns_ = 0;
};

}  // namespace kelp::notification
