#pragma once

#include <kelp/util/mutex.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "events/event_follower.h"
#include "events/event_receiver.h"
#include "events/event_report.h"
#include "events/gap_detector.h"

namespace kelp::nms {

/// Shows events, losses and gaps as they arrive, and reports when enough events have been shown.
/// The operations may be called from any thread.
class EventView : public FollowObserver, public EventReceiver {
  public:
    /// `whenEnough` is called after `wanted` events; duplicates are not counted. 0 means no limit.
    EventView(EventReport report, GapDetector gaps, unsigned wanted,
              std::function<void()> whenEnough)
        : report_(std::move(report)),
          gaps_(std::move(gaps)),
          wanted_(wanted),
          whenEnough_(std::move(whenEnough)) {}

    void show(const EventRecord& event) override;
    void eventLossOccurred(const std::string& startTime,
                           const std::string& notificationId) override;
    void eventLossCleared(const std::string& endTime) override;
    void alarmLossOccurred(const std::string& startTime,
                           const std::string& notificationId) override;

    void connecting() override;
    void connected() override;
    void lost(const std::string& why) override;
    void pausing(std::chrono::milliseconds pause) override;
    void failed(const std::string& why) override;
    void reconnected(std::chrono::milliseconds away) override;
    void notLeft(const std::string& why) override;
    std::optional<Clock::time_point> overdueAt() override;
    void stoodStill() override;
    Clock::time_point lastSign() override;

  private:
    void tell(const Notice& notice);

    /// Also held while an event or a notice is written.
    util::Mutex mutex_{util::LockRank::NmsView, "EventView::mutex_"};
    EventReport report_ KELP_GUARDED_BY(mutex_);
    GapDetector gaps_ KELP_GUARDED_BY(mutex_);
    const unsigned wanted_;
    const std::function<void()> whenEnough_;
    unsigned shown_ KELP_GUARDED_BY(mutex_) = 0;
    bool hasBegun_ KELP_GUARDED_BY(mutex_) = false;
};

}  // namespace kelp::nms
