#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>

namespace kelp::nms {

/// The loss of a link, after which it receives no more events.
struct LinkLoss {
    std::string why;
    bool sessionIsGone = false;  ///< then there is no session to end
};

/// The signals that other threads send to the thread that follows events, and that thread's wait
/// for them. May be used from any thread.
class FollowSignals {
  public:
    using Clock = std::chrono::steady_clock;

    void interrupt();
    void enough();
    /// Report that link number `link` is lost. Has no effect if there is a newer link.
    void lost(unsigned link, const LinkLoss& loss);

    /// Begin a new link and return its number. Clears the loss of the previous link.
    unsigned beginLink();
    void setConnected(bool isConnected);
    /// Whether there is a link. Leaving it takes time.
    bool isConnected();

    bool isEnough();
    bool isInterrupted();
    std::optional<LinkLoss> loss();

    /// Wait until `time`, an interruption, enough events, or, if `lossCounts`, the loss of the
    /// newest link.
    void waitUntil(Clock::time_point time, bool lossCounts);

  private:
    std::mutex mutex_;  ///< guards all members below
    std::condition_variable changed_;
    bool isEnough_ = false;
    bool isInterrupted_ = false;
    bool isConnected_ = false;
    unsigned link_ = 0;
    std::optional<LinkLoss> loss_;
};

}  // namespace kelp::nms
