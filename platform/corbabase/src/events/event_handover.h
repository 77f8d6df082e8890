#pragma once

#include <kelp/util/mutex.h>

#include <chrono>
#include <deque>
#include <functional>
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

    /// Queue events for the channel, without waiting for it. False, and none is queued, once the
    /// handover stops.
    bool enqueue(const std::vector<StructuredEventPtr>& events) KELP_EXCLUDES(mutex_);
    void requestHeartbeat() KELP_EXCLUDES(mutex_);
    /// Request a probe of the channel. A hand-over that is answered first makes the
    /// probe unnecessary.
    void requestProbe() KELP_EXCLUDES(mutex_);
    /// Whether the channel answered the last call.
    bool channelAnswers() const KELP_EXCLUDES(mutex_);
    /// True when the channel answers and less than half of `eventsMax` events wait.
    bool isDrained() const KELP_EXCLUDES(mutex_);
    /// End the thread after the call in progress, which the channel's time-out limits. Drop the
    /// waiting events and return their number; 0 when already stopped.
    std::size_t stop() KELP_EXCLUDES(mutex_);

  private:
    using Clock = std::chrono::steady_clock;
    enum class Step { HandOver, Probe, Heartbeat, Tend, End };

    void run() KELP_EXCLUDES(mutex_);
    /// Wait for something to do.
    Step next() KELP_REQUIRES(mutex_);
    void handOver() KELP_REQUIRES(mutex_);
    void settle(const std::vector<StructuredEventPtr>& batch, EventChannelLink::Outcome outcome)
        KELP_REQUIRES(mutex_);
    void probe() KELP_REQUIRES(mutex_);
    void askForHeartbeat() KELP_REQUIRES(mutex_);
    void tend() KELP_REQUIRES(mutex_);
    void backOff() KELP_REQUIRES(mutex_);
    void forgetInHand() KELP_REQUIRES(mutex_);

    const Settings settings_;
    const std::shared_ptr<EventChannelLink> link_;
    const Work work_;
    mutable kelp::util::Mutex mutex_{kelp::util::LockRank::Leaf, "EventHandover::mutex_"};
    kelp::util::ConditionVariable changed_;
    std::deque<StructuredEventPtr> events_ KELP_GUARDED_BY(mutex_);
    /// Number of events at the front that are being handed over.
    std::size_t inHand_ KELP_GUARDED_BY(mutex_) = 0;
    /// Number of events at the front that are sent one by one.
    std::size_t singles_ KELP_GUARDED_BY(mutex_) = 0;
    bool answers_ KELP_GUARDED_BY(mutex_);
    bool probeRequested_ KELP_GUARDED_BY(mutex_) = false;
    /// Used while the channel does not answer.
    Clock::time_point probeDue_ KELP_GUARDED_BY(mutex_);
    std::chrono::milliseconds backOff_ KELP_GUARDED_BY(mutex_);
    Clock::time_point heartbeatDue_ KELP_GUARDED_BY(mutex_);
    bool heartbeatRequested_ KELP_GUARDED_BY(mutex_) = false;
    Clock::time_point tendDue_ KELP_GUARDED_BY(mutex_);
    bool stopping_ KELP_GUARDED_BY(mutex_) = false;
    std::thread thread_ KELP_GUARDED_BY(mutex_);
};

}  // namespace NS_CORBA
