#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "events/event_channel_link.h"

namespace NS_CORBA {

/// Accepts events from any thread and hands them to the channel in order, on a separate thread.
/// While the channel does not answer, the events wait and the channel is probed with growing
/// pauses. The same thread asks for heartbeats and calls the link's tend().
class EventHandover {
  public:
    struct Settings {
        /// Maximum number of waiting events. Beyond it the oldest are lost.
        std::size_t eventsMax = 10000;
        std::chrono::seconds heartbeatInterval{0};  ///< 0: no timed heartbeats
        /// Interval between calls of the link's tend(); 0: never.
        std::chrono::milliseconds tendInterval{0};
        /// Pause before a channel that did not answer is probed. It doubles with each failure.
        std::chrono::milliseconds firstBackOff{1000};
        std::chrono::milliseconds longestBackOff{30000};
    };
    struct Work {
        /// Events were lost, because too many wait or the channel refused them. `first` is the
        /// first of them. Called on the thread whose event exceeded the limit, or on the handover's
        /// thread.
        std::function<void(const CosNotification::StructuredEvent& first)> lost;
        std::function<void()> heartbeat;
    };

    EventHandover(const Settings& settings, std::shared_ptr<EventChannelLink> link, Work work);
    /// Calls stop().
    ~EventHandover();
    EventHandover(const EventHandover&) = delete;
    EventHandover& operator=(const EventHandover&) = delete;

    /// Accept events without waiting for the channel. False, and none is accepted, once the
    /// handover stops.
    bool take(const std::vector<EventPtr>& events);
    void requestHeartbeat();
    /// Request a probe of the channel. A delivery that is answered first makes the probe
    /// unnecessary.
    void requestProbe();
    /// Whether the channel answered the last call.
    bool channelAnswers() const;
    /// True when the channel answers and less than half of `eventsMax` events wait.
    bool isDrained() const;
    /// End the thread after the call in progress, which the channel's time-out limits. Drop the
    /// waiting events and return their number; 0 when already stopped.
    std::size_t stop();

  private:
    using Clock = std::chrono::steady_clock;
    using Lock = std::unique_lock<std::mutex>;
    enum class Step { Deliver, Probe, Heartbeat, Tend, End };

    void run();
    /// Wait for something to do.
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
    std::size_t inHand_ = 0;   // number of events at the front that are being delivered
    std::size_t singles_ = 0;  // number of events at the front that are sent one by one
    bool answers_;
    bool probeRequested_ = false;
    Clock::time_point probeDue_;  // used while the channel does not answer
    std::chrono::milliseconds backOff_;
    Clock::time_point heartbeatDue_;
    bool heartbeatRequested_ = false;
    Clock::time_point tendDue_;
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace NS_CORBA
