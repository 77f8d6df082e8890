#pragma once

#include <cos/CosNotification.h>

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace NS_CORBA {

/// Whether events are being lost, from the first lost one on. Thread safe.
class LossTracker {
  public:
    struct Start {
        std::string time;
        std::string notificationId;
    };

    /// An event was lost. Its time and notification id when that begins a loss.
    std::optional<Start> lost(const CosNotification::StructuredEvent& first);
    /// A round of the sessions' checks begins. True when it ends the loss: consumers are drained, and a whole
    /// round has passed since it began.
    bool roundBegins(bool isDrained);

  private:
    static constexpr int kRounds = 2;
    std::mutex mutex_;
    bool isLosing_ = false;  // these two are guarded by mutex_
    int rounds_ = 0;
};

}  // namespace NS_CORBA
