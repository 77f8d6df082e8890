#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "events/event_channel_link.h"

namespace NS_CORBA {

/// Takes events in from any thread, at most so many, and hands them to the channel one after the
/// other on a thread of its own. While the channel does not answer they wait, and it is probed with
/// growing pauses. Heartbeats are asked for, and the channel is tended, on the same thread.
class EventHandover {
  public:
    struct Settings {
        std::size_t eventsMax = 10000;  ///< that may wait; beyond it the oldest are lost
        std::chrono::seconds heartbeatInterval{0};  ///< 0: none by the timer
        std::chrono::milliseconds tendInterval{
            0};  ///< the channel is tended so often; 0: not at all
        std::chrono::milliseconds firstBackOff{
            1000};  ///< before a channel that did not answer is probed
        std::chrono::milliseconds longestBackOff{30000};
    };
    struct Work {
        /// Events are gone, since too many came in or the channel refused them; this one first. On
        /// the thread that took one in too many, or on the handover's.
        std::function<void(const CosNotification::StructuredEvent& first)> lost;
        std::function<void()> heartbeat;
    };

    EventHandover(const Settings& settings, std::shared_ptr<EventChannelLink> link, Work work);
    /// stop().
    ~EventHandover();
    EventHandover(const EventHandover&) = delete;
    EventHandover& operator=(const EventHandover&) = delete;

    /// Waits for no channel. False, and nothing is taken in, once it is stopping.
    bool take(const std::vector<EventPtr>& events);
    void requestHeartbeat();
    /// Has the channel probed soon, unless a delivery tells before whether it answers.
    void requestProbe();
    /// As the last call to the channel has shown.
    bool channelAnswers() const;
    /// The channel answers, and less than half of the events that may wait do.
    bool isDrained() const;
    /// Ends the thread after the work in hand, for which the channel's time-out is the limit. How
    /// many events were waiting, which are dropped; 0 when it was stopped before.
    std::size_t stop();

  private:
    using Clock = std::chrono::steady_clock;
    using Lock = std::unique_lock<std::mutex>;
    enum class Step { Deliver, Probe, Heartbeat, Tend, End };

    void run();
    /// Waits for something to do.
    Step next(Lock& lock);
    void deliver(Lock& lock);
    void settle(Lock& lock, const std::vector<EventPtr>& batch, EventChannelLink::Outcome outcome);
    void probe(Lock& lock);
    void askForHeartbeat(Lock& lock);
    void tend(Lock& lock);
    void backOff();
    void forgetInHand();

    const Settings settings_;
    const std::shared_ptr<EventChannelLink> link_;
    const Work work_;
    mutable std::mutex mutex_;  // guards what follows
    std::condition_variable changed_;
    std::deque<EventPtr> events_;
    std::size_t inHand_ = 0;   // the first so many are being delivered
    std::size_t singles_ = 0;  // the first so many go out one by one
    bool answers_;
    bool probeRequested_ = false;
    Clock::time_point probeDue_;  // while it does not answer
    std::chrono::milliseconds backOff_;
    Clock::time_point heartbeatDue_;
    bool heartbeatRequested_ = false;
    Clock::time_point tendDue_;
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace NS_CORBA
