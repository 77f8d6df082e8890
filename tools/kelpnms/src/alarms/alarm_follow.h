#pragma once

#include <kelp/util/mutex.h>

#include <memory>
#include <optional>
#include <string>

#include "alarms/alarm_display.h"
#include "alarms/alarm_view.h"
#include "events/event_follower.h"
#include "events/event_receiver.h"
#include "events/gap_detector.h"

namespace kelp::nms {

/// Keeps the view of the alarms in step with what a link brings, and shows each change. The
/// operations may be called from any thread.
class AlarmFollow : public FollowObserver, public EventReceiver {
  public:
    AlarmFollow(const AlarmView::Settings& settings, std::shared_ptr<AlarmDisplay> display)
        : view_(settings), display_(std::move(display)) {}

    // the reading of the list, by one thread
    void beginRead();
    void listed(const EventRecord& event);
    /// Returns whether the view is now the EMS's list. If not, it must be read again at once.
    bool endRead();
    /// Whether the list should be read again although the link lasts.
    bool wantsRead();
    void askForRead();

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
    NmsAlarmPtr usable(const EventRecord& event) KELP_REQUIRES(mutex_);
    void apply(const AlarmChange& change) KELP_REQUIRES(mutex_);
    void tell(const Notice& notice);
    void showState() KELP_REQUIRES(mutex_);

    /// Also held while a change is shown.
    util::Mutex mutex_{util::LockRank::NmsView, "AlarmFollow::mutex_"};
    AlarmView view_ KELP_GUARDED_BY(mutex_);
    const std::shared_ptr<AlarmDisplay> display_ KELP_GUARDED_BY(mutex_);
    /// Only for the time without any event.
    GapDetector gaps_ KELP_GUARDED_BY(mutex_){std::nullopt};
    bool isReading_ KELP_GUARDED_BY(mutex_) = false;
    bool isFullTold_ KELP_GUARDED_BY(mutex_) = false;
    unsigned unusable_ KELP_GUARDED_BY(mutex_) = 0;  ///< alarms of this connection
    std::size_t gone_ KELP_GUARDED_BY(mutex_) = 0;   ///< alarms, during the present read
};

}  // namespace kelp::nms
