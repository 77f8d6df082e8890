#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>

namespace kelp::nms {

/// Why a link brings no more events, as the EMS says itself.
struct LinkLoss {
    std::string why;
    bool sessionIsGone = false;  ///< so there is nothing left to end
};

/// What others tell to one who follows events, and his waiting for it. May be used from any thread.
class FollowSignals {
  public:
    using Clock = std::chrono::steady_clock;

    void interrupt();
    void enough();
    /// Link number `link` is lost; of no effect when there is a newer one.
    void lost(unsigned link, const LinkLoss& loss);

    /// The number of a new link. What was said of the links before it is forgotten.
    unsigned beginLink();
    void setConnected(bool isConnected);
    /// Whether there is a link, which takes its time to leave.
    bool isConnected();

    bool isEnough();
    bool isInterrupted();
    std::optional<LinkLoss> loss();

    /// Waits for the time, an interruption, enough, or, if it counts, the newest link's loss.
    void waitUntil(Clock::time_point time, bool lossCounts);

  private:
    std::mutex mutex_;  ///< guards what follows
    std::condition_variable changed_;
    bool isEnough_ = false;
    bool isInterrupted_ = false;
    bool isConnected_ = false;
    unsigned link_ = 0;
    std::optional<LinkLoss> loss_;
};

}  // namespace kelp::nms
