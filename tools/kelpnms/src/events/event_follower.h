#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "events/follow_signals.h"

namespace kelp::nms {

/// A log-in whose events arrive. Destroying it makes no call to the EMS.
class EventLink {
  public:
    virtual ~EventLink() = default;
    /// Asks the EMS whether the session still exists. Throws NmsError when not, or when it does not
    /// answer.
    virtual void check() = 0;
    /// Disconnects the consumer and ends the session. Throws NmsError.
    virtual void leave() = 0;
};

/// Hears how the following goes. Called on the thread that follows.
class FollowObserver {
  public:
    using Clock = FollowSignals::Clock;

    virtual ~FollowObserver() = default;
    /// A link is about to be opened, the first one or another.
    virtual void connecting() = 0;
    virtual void connected() = 0;
    virtual void lost(const std::string& why) = 0;
    /// The next attempt comes after this pause.
    virtual void pausing(std::chrono::milliseconds pause) = 0;
    virtual void failed(const std::string& why) = 0;
    /// Connected again; `away` is the time since the last sign of life of the link before.
    virtual void reconnected(std::chrono::milliseconds away) = 0;
    /// The end has come, but the EMS did not answer the log-out.
    virtual void notLeft(const std::string& why) = 0;

    /// When the events' silence becomes too long; none: never.
    virtual std::optional<Clock::time_point> overdueAt() = 0;
    /// This process was stopped for a while and now runs on: the silence was its own.
    virtual void stoodStill() = 0;
    /// The last event's time.
    virtual Clock::time_point lastSign() = 0;
};

/// Keeps a link to the EMS's events: watches it and, when it is lost, opens another, with growing
/// pauses between the attempts. For one thread; what others have to say comes by the signals.
class EventFollower {
  public:
    using Clock = FollowSignals::Clock;
    /// Opens a link. Throws NmsError. The function that it is given may be called once the link is
    /// lost, from any thread, also when the follower is gone.
    using OpenLink =
        std::function<std::unique_ptr<EventLink>(std::function<void(const LinkLoss&)> lost)>;

    enum class End { Enough, Interrupted, TimeOver, Lost };

    struct Settings {
        bool reconnect = true;
        std::optional<std::chrono::milliseconds> limit = {};  ///< follows no longer than that
        std::chrono::milliseconds checkInterval{
            5000};  ///< between questions whether the session exists
        std::chrono::milliseconds lookInterval{
            500};  ///< between looks whether the silence is too long
        /// A look that comes so late was kept from coming in time: this process was stopped.
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

    /// Follows until there is an end; the last link has then been left, if it answers. Throws what
    /// opening the first link throws, later only a refusal that other attempts would meet as well
    /// (of the user, or of the filter).
    End run();

  private:
    std::unique_ptr<EventLink> openLink();
    /// None when there is an end first.
    std::unique_ptr<EventLink> reopenLink();
    void leave(EventLink& link);
    /// Until there is an end, or none when the link is lost; `loss` says how.
    std::optional<End> follow(EventLink& link, LinkLoss& loss);
    /// What this side sees itself: the EMS does not answer, or is silent.
    std::optional<LinkLoss> lossSeen(EventLink& link);
    static void giveUp(EventLink& link, const LinkLoss& loss);
    std::optional<End> end();

    const Settings settings_;
    const OpenLink open_;
    FollowObserver& observer_;
    const std::shared_ptr<FollowSignals> signals_;
    Clock::time_point deadline_ = Clock::time_point::max();
    Clock::time_point lastAnswer_{};  ///< to a check, or to the opening
};

}  // namespace kelp::nms
