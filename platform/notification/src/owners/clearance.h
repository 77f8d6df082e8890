#pragma once

#include <kelp/notification/guard.h>

#include <chrono>
#include <memory>

#include "owners/absences.h"

namespace kelp::notification {

class ChannelCore;

/// Removes the objects of owners that have gone. Used by one thread at a time.
class Clearance {
  public:
    /// `guard` is borrowed. If it is null, no owner ever goes.
    Clearance(std::shared_ptr<ChannelCore> core, const Guard* guard,
              std::chrono::milliseconds grace)
        : core_(std::move(core)), absences_(guard, grace) {}

    /// Drop all objects of the owners whose grace period is over at `now`. Makes no remote call;
    /// other threads disconnect the peers.
    void review(Absences::Time now);

  private:
    void drop(const OwnerPtr& owner);

    const std::shared_ptr<ChannelCore> core_;
    Absences absences_;
};

}  // namespace kelp::notification
