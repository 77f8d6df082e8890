#pragma once

#include <kelp/notification/guard.h>

#include <chrono>
#include <memory>

#include "owners/absences.h"

namespace kelp::notification {

class ChannelCore;

/// Removes what belongs to owners that have gone. For one thread at a time.
class Clearance {
  public:
    /// `guard` is borrowed; with a null one nobody ever goes.
    Clearance(std::shared_ptr<ChannelCore> core, const Guard* guard,
              std::chrono::milliseconds grace)
        : core_(std::move(core)), absences_(guard, grace) {}

    /// Drops all objects of the owners whose grace is over at this time. Calls nobody; other
    /// threads disconnect the consumers.
    void review(Absences::Time now);

  private:
    void drop(const OwnerPtr& owner);

    const std::shared_ptr<ChannelCore> core_;
    Absences absences_;
};

}  // namespace kelp::notification
