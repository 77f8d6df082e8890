#pragma once

#include <cos/CosNotification.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace NS_CORBA {

/// Takes events in from any thread, at most so many, and gives them out one after the other on a thread of
/// its own. Heartbeats are asked for on the same thread.
class EventHandover {
  public:
    struct Work {
        std::function<void(const CosNotification::StructuredEvent&)> deliver;
        /// More than may wait came in; this one is gone.
        std::function<void(const CosNotification::StructuredEvent&)> lost;
        std::function<void()> heartbeat;
    };

    /// No heartbeats by the timer when the interval is 0.
    EventHandover(std::size_t eventsMax, std::chrono::seconds heartbeatInterval, Work work);
    /// stop().
    ~EventHandover();
    EventHandover(const EventHandover&) = delete;
    EventHandover& operator=(const EventHandover&) = delete;

    void take(const CosNotification::StructuredEvent* events, std::size_t count);
    void requestHeartbeat();
    /// Drops what waits and ends the thread after the work in hand.
    void stop();

  private:
    using Clock = std::chrono::steady_clock;
    void run();
    /// Waits for something to do; false at the end.
    bool wait(std::unique_lock<std::mutex>& lock);

    const std::size_t eventsMax_;
    const std::chrono::seconds interval_;
    const Work work_;
    std::mutex mutex_;  // guards what follows
    std::condition_variable changed_;
    std::deque<CosNotification::StructuredEvent> events_;
    Clock::time_point heartbeatDue_;
    bool heartbeatRequested_ = false;
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace NS_CORBA
