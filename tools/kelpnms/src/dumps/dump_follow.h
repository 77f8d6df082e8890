#pragma once

#include <kelp/util/mutex.h>

#include <memory>
#include <optional>
#include <string>

#include "dumps/pending_changes.h"
#include "events/event_follower.h"
#include "events/event_receiver.h"
#include "events/gap_detector.h"
#include "upload/walk_progress.h"

namespace kelp::nms {

/// Gathers the changes of the network that a link brings, until the thread that writes the dump
/// file takes them. Says what happens on standard error. The operations may be called from any
/// thread.
class DumpFollow : public FollowObserver, public EventReceiver {
  public:
    /// The network is dumped from now on: changes up to here are in the dump. Returns the dump's
    /// progress, which interrupt() ends.
    std::shared_ptr<WalkProgress> beginDump();
    /// The file must be dumped anew.
    void askForDump();
    bool wantsDump();
    bool hasChanges();
    /// Take the changes that are not in the file yet.
    PendingChanges takeChanges();
    /// End a dump, and each one that begins later.
    void interrupt();

    void show(const EventRecord& event) override;
    void eventLossOccurred(const std::string& startTime,
                           const std::string& notificationId) override;
    void eventLossCleared(const std::string& endTime) override;
    void alarmLossOccurred(const std::string& /*startTime*/,
                           const std::string& /*notificationId*/) override {}

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
    util::Mutex mutex_{util::LockRank::NmsView, "DumpFollow::mutex_"};
    PendingChanges pending_ KELP_GUARDED_BY(mutex_);
    bool wantsDump_ KELP_GUARDED_BY(mutex_) = false;
    bool isInterrupted_ KELP_GUARDED_BY(mutex_) = false;
    std::shared_ptr<WalkProgress> progress_ KELP_GUARDED_BY(mutex_);
    /// Only for the time without any event.
    GapDetector gaps_ KELP_GUARDED_BY(mutex_){std::nullopt};
};

}  // namespace kelp::nms
