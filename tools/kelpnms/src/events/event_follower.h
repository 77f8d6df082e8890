#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "events/follow_signals.h"

namespace kelp::nms {

/// A session with a consumer. Destroying it makes no call to the EMS.
class EventLink {
  public:
    virtual ~EventLink() = default;
    /// Ask the EMS whether the session still exists. Throws NmsError if it does not exist or the
    /// EMS does not answer.
    virtual void check() = 0;
    /// Whether check() should be called soon, although its time has not come.
    virtual bool wantsCheck() { return false; }
    /// Disconnect the consumer and end the session. Throws NmsError.
    virtual void leave() = 0;
};

/// Observes an EventFollower. Called on the thread that runs EventFollower::run().
class FollowObserver {
  public:
    using Clock = FollowSignals::Clock;

    virtual ~FollowObserver() = default;
    /// A link is about to be opened: the first one, or one after a loss.
    virtual void connecting() = 0;
    virtual void connected() = 0;
    virtual void lost(const std::string& why) = 0;
    /// The next attempt follows after this pause.
    virtual void pausing(std::chrono::milliseconds pause) = 0;
    virtual void failed(const std::string& why) = 0;
    /// Connected again. `away` is the time since the last event or answer on the previous link.
    virtual void reconnected(std::chrono::milliseconds away) = 0;
    /// Following has ended, but the EMS did not answer the log-out.
    virtual void notLeft(const std::string& why) = 0;

    /// When the time without events becomes too long. None: never.
    virtual std::optional<Clock::time_point> overdueAt() = 0;
    /// This process was stopped for a while and has now continued, so the missing events do not
    /// indicate a loss.
    virtual void stoodStill() = 0;
    /// The time of the last event.
    virtual Clock::time_point lastSign() = 0;
};

/// Keeps a link to the EMS's events. It monitors the link and, when the link is lost, opens
/// another; the pauses between the attempts grow. For use by one thread. Other threads communicate
/// with it through FollowSignals.
class EventFollower {
  public:
    using Clock = FollowSignals::Clock;
    /// Opens a link. Throws NmsError. Its argument `lost` reports the loss of the link. It may be
    /// called from any thread, even after the follower is destroyed.
    using OpenLink =
        std::function<std::unique_ptr<EventLink>(std::function<void(const LinkLoss&)> lost)>;

    enum class End { Enough, Interrupted, TimeOver, Lost };

    struct Settings {
        bool reconnect = true;
        std::optional<std::chrono::milliseconds> limit = {};  ///< maximum time to follow
        /// Time between two checks whether the session exists.
        std::chrono::milliseconds checkInterval{5000};
        /// Time between two checks whether the time without events is too long.
        std::chrono::milliseconds lookInterval{500};
        /// A check that is later than this was delayed because the process was stopped.
        std::chrono::milliseconds sleepNoticed{1000};
        std::chrono::milliseconds firstPause{1000};
        std::chrono::milliseconds longestPause{30000};
    };

    EventFollower(Settings settings, OpenLink open, FollowObserver& observer,
                  std::shared_ptr<FollowSignals> signals)
        : settings_(settings),
          open_(std::move(open)),
          observer_(observer),
          signals_(std::move(signals)) {}

    /// Follow the events until there is a reason to end. The last link has then been left, if the
    /// EMS answers. Throws what opening the first link throws. Throws for a later link only if a
    /// retry would fail as well: the EMS refused the user or the filter.
    End run();

  private:
    std::unique_ptr<EventLink> openLink();
    /// Open a link after a loss. Returns nullptr when there is a reason to end before that
    /// succeeds.
    std::unique_ptr<EventLink> reopenLink();
    void leave(EventLink& link);
    /// Monitor the link until there is a reason to end, and return it. Returns none when the link
    /// is lost; `loss` then says why.
    std::optional<End> follow(EventLink& link, LinkLoss& loss);
    /// Detect a loss that this side notices: the EMS does not answer, or sends no events for too
    /// long.
    std::optional<LinkLoss> lossSeen(EventLink& link);
    static void giveUp(EventLink& link, const LinkLoss& loss);
    std::optional<End> end();

    const Settings settings_;
    const OpenLink open_;
    FollowObserver& observer_;
    const std::shared_ptr<FollowSignals> signals_;
    Clock::time_point deadline_ = Clock::time_point::max();
    /// time of the EMS's last answer to a check or to opening the link
    Clock::time_point lastAnswer_{};
};

}  // namespace kelp::nms
