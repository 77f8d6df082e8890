#pragma once

#include <cos/CosNotification.h>

#include <ctime>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace NS_CORBA {

/// Whether events are being lost, from the first lost one on. Thread safe.
///
/// Start and end of a loss are reported one after the other, in the order in which they happened,
/// and without a lock. A report is made by the thread that caused it, or, while another report is
/// being made, by the thread that makes that one.
class LossTracker {
  public:
    struct Start {
        std::string time;
        std::string notificationId;
    };
    /// Must not throw.
    struct Reports {
        std::function<void(const Start&)> occurred;
        std::function<void(std::time_t endTime)> cleared;
    };

    explicit LossTracker(Reports reports) : reports_(std::move(reports)) {}

    /// An event was lost. The first one begins a loss.
    void lost(const CosNotification::StructuredEvent& first);
    /// A round of the sessions' checks begins. It ends the loss when consumers are drained and a
    /// whole round has passed since the last lost event.
    void roundBegins(bool isDrained);

  private:
    static constexpr int kRounds = 2;
    struct Report {
        std::optional<Start> start;  ///< none: the loss has ended
        std::time_t endTime = 0;
    };
    using Lock = std::unique_lock<std::mutex>;

    /// True when a loss goes on already.
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
