#pragma once

#include <kelp/nms/listener.h>
#include <kelp/util/mutex.h>

#include <chrono>
#include <memory>
#include <optional>

#include "app/report.h"

namespace kelp::nms {

/// Shows the EMS's calls as they arrive, and decides when the command `watch` ends.
class Watch : public NmsListener {
  public:
    enum class End { Enough, Interrupted, EndedByEms, TimeOver };

    Watch(std::shared_ptr<Report> report, unsigned pingsWanted)
        : report_(std::move(report)), wanted_(pingsWanted) {}

    void pinged() override;
    void sessionEnded() override;
    void eventLossOccurred(const std::string& startTime,
                           const std::string& notificationId) override;
    void eventLossCleared(const std::string& endTime) override;
    void alarmLossOccurred(const std::string& startTime,
                           const std::string& notificationId) override;

    void interrupt();
    bool endedByEms();
    /// Wait for the wanted number of pings, an interruption, the end of the session, or, if given,
    /// `limit`.
    End wait(std::optional<std::chrono::milliseconds> limit);

  private:
    void finish(End end);

    const std::shared_ptr<Report> report_;
    const unsigned wanted_;  ///< 0: no limit
    util::Mutex mutex_{util::LockRank::Leaf, "Watch::mutex_"};
    util::ConditionVariable changed_;
    unsigned pings_ KELP_GUARDED_BY(mutex_) = 0;
    std::optional<End> end_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::nms
