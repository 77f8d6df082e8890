#pragma once

#include <kelp/nms/listener.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
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
    std::mutex mutex_;
    std::condition_variable changed_;
    unsigned pings_ = 0;      ///< guarded by mutex_
    std::optional<End> end_;  ///< guarded by mutex_
};

}  // namespace kelp::nms
