#include "event_handover.h"

#include <kelp/corbabase/trace.h>

#include <exception>
#include <utility>

namespace NS_CORBA {

namespace {

/// The thread goes on whatever a callback does.
template <class Body>
void contained(Body body) {
    try {
        body();
    } catch (const CORBA::Exception& failure) {
        GetTss()->Set("eventhandover", "unknown", __LINE__);
        TaException(failure, "[EventHandover] An event could not be handed over!");
    } catch (const std::exception& failure) {
        GetTss()->Set("eventhandover", "unknown", __LINE__);
        TaTrace("[EventHandover] An event could not be handed over: %s", failure.what());
    }
}

}  // namespace

EventHandover::EventHandover(std::size_t eventsMax, std::chrono::seconds heartbeatInterval, Work work)
    : eventsMax_(eventsMax),
      interval_(heartbeatInterval),
      work_(std::move(work)),
      heartbeatDue_(heartbeatInterval.count() > 0 ? Clock::now() + heartbeatInterval
                                                  : Clock::time_point::max()),
      thread_([this] { run(); }) {}

EventHandover::~EventHandover() {
    stop();
}

void EventHandover::take(const CosNotification::StructuredEvent* events, std::size_t count) {
    std::deque<CosNotification::StructuredEvent> gone;
    {
        const std::lock_guard guard(mutex_);
        if (stopping_)
            return;
        events_.insert(events_.end(), events, events + count);
        while (events_.size() > eventsMax_) {
            gone.push_back(events_.front());
            events_.pop_front();
        }
        changed_.notify_one();
    }
    for (const CosNotification::StructuredEvent& each : gone)
        work_.lost(each);
}

void EventHandover::requestHeartbeat() {
    const std::lock_guard guard(mutex_);
    heartbeatRequested_ = true;
    changed_.notify_one();
}

void EventHandover::stop() {
    std::thread ending;
    {
        const std::lock_guard guard(mutex_);
        stopping_ = true;
        events_.clear();
        ending.swap(thread_);
        changed_.notify_one();
    }
    if (ending.joinable())
        ending.join();
}

bool EventHandover::wait(std::unique_lock<std::mutex>& lock) {
    const auto hasWork = [this] { return stopping_ || heartbeatRequested_ || !events_.empty(); };
    if (heartbeatDue_ == Clock::time_point::max())
        changed_.wait(lock, hasWork);
    else
        changed_.wait_until(lock, heartbeatDue_, hasWork);
    return !stopping_;
}

void EventHandover::run() {
    std::unique_lock lock(mutex_);
    while (wait(lock)) {
        const Clock::time_point now = Clock::now();
        const bool isDue = now >= heartbeatDue_;
        if (isDue)
            heartbeatDue_ = now + interval_;
        const bool needsHeartbeat = std::exchange(heartbeatRequested_, false) || isDue;
        std::deque<CosNotification::StructuredEvent> events;
        events.swap(events_);
        lock.unlock();
        for (const CosNotification::StructuredEvent& each : events)
            contained([&] { work_.deliver(each); });
        if (needsHeartbeat)
            contained([&] { work_.heartbeat(); });
        lock.lock();
    }
}

}  // namespace NS_CORBA
