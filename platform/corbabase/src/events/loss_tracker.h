#pragma once

#include <kelp/orb/event_view.h>
#include <kelp/util/mutex.h>

#include <ctime>
#include <deque>
#include <functional>
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
    void lost(const kelp::orb::EventView& first) KELP_EXCLUDES(mutex_);
    /// A round of session checks begins. It ends the loss when `isDrained` and a whole round has
    /// passed since the last lost event.
    void roundBegins(bool isDrained) KELP_EXCLUDES(mutex_);

  private:
    static constexpr int kRounds = 2;
    struct Report {
        std::optional<Start> start;  ///< none: the report of the loss's end
        std::time_t endTime = 0;
    };

    /// Restart the count of rounds. True when a loss is already in progress.
    bool isCounted() KELP_EXCLUDES(mutex_);
    void makeReports() KELP_REQUIRES(mutex_);

    const Reports reports_;
    kelp::util::Mutex mutex_{kelp::util::LockRank::Leaf, "LossTracker::mutex_"};
    bool isLosing_ KELP_GUARDED_BY(mutex_) = false;
    int rounds_ KELP_GUARDED_BY(mutex_) = 0;
    std::deque<Report> waiting_ KELP_GUARDED_BY(mutex_);
    bool isReporting_ KELP_GUARDED_BY(mutex_) = false;
};

}  // namespace NS_CORBA
