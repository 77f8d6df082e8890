#pragma once

#include <cos/CosNotification.h>

#include <ctime>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace NS_CORBA {

/// Tracks whether events are being lost, and reports the start and the end of each loss. Any thread
/// may call it.
///
/// Reports are made one after the other, in the order of the changes and without a lock held. The
/// thread that caused a report makes it, unless another thread is reporting; then that thread makes
/// it.
class LossTracker {
  public:
    struct Start {
        std::string time;
        std::string notificationId;
    };
    /// The callbacks. They must not throw.
    struct Reports {
        std::function<void(const Start&)> occurred;
        std::function<void(std::time_t endTime)> cleared;
    };

    explicit LossTracker(Reports reports) : reports_(std::move(reports)) {}

    /// An event was lost. The first one begins a loss.
    void lost(const CosNotification::StructuredEvent& first);
    /// A round of session checks begins. It ends the loss when `isDrained` and a whole round has
    /// passed since the last lost event.
    void roundBegins(bool isDrained);

  private:
    static constexpr int kRounds = 2;
    struct Report {
        std::optional<Start> start;  ///< none: the report of the loss's end
        std::time_t endTime = 0;
    };
    using Lock = std::unique_lock<std::mutex>;

    /// Restart the count of rounds. True when a loss is already in progress.
    bool isCounted();
    void makeReports(Lock& lock);

    const Reports reports_;
    std::mutex mutex_;  // guards what follows
    bool isLosing_ = false;
    int rounds_ = 0;
    std::deque<Report> waiting_;
    bool isReporting_ = false;
};

}  // namespace NS_CORBA
