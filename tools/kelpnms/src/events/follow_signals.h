#pragma once

#include <kelp/util/mutex.h>

#include <chrono>
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
    util::Mutex mutex_{util::LockRank::Leaf, "FollowSignals::mutex_"};
    util::ConditionVariable changed_;
    bool isEnough_ KELP_GUARDED_BY(mutex_) = false;
    bool isInterrupted_ KELP_GUARDED_BY(mutex_) = false;
    bool isConnected_ KELP_GUARDED_BY(mutex_) = false;
    unsigned link_ KELP_GUARDED_BY(mutex_) = 0;
    std::optional<LinkLoss> loss_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::nms
