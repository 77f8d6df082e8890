#pragma once

#include <kelp/util/mutex.h>

#include <string>

namespace NS_KELPCORBA {

/// What was last reported about lost events.
struct EventLoss {
    bool isCleared = true;
    std::string time{};            ///< start of the loss, or its end when it is cleared
    std::string notificationId{};  ///< of the last loss that was reported
};

/// The last report on lost events, which the next ping round relays to every NMS. Any thread may
/// call it.
class EventLossState {
  public:
    void setOccurred(const std::string& startTime, const std::string& notificationId);
    void setCleared(const std::string& endTime);
    EventLoss current() const;

  private:
    mutable kelp::util::Mutex mutex_{kelp::util::LockRank::Leaf, "EventLossState::mutex_"};
    EventLoss last_ KELP_GUARDED_BY(mutex_);
};

}  // namespace NS_KELPCORBA
