#pragma once

#include <kelp/notification/channel.h>
#include <kelp/orb/corba.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "delivery/event_queue.h"
#include "delivery/receiver.h"

namespace kelp::notification {

/// The events for one consumer from the filters on: its queue, its connection, and the state of its
/// delivery. Any thread may call it; one thread at a time serves it. Order is that of offer().
class Subscription : public std::enable_shared_from_this<Subscription> {
  public:
    using Clock = std::chrono::steady_clock;

    /// Asks for serve() on some thread of the dispatcher.
    class Scheduler {
      public:
        virtual ~Scheduler() = default;
        virtual void ready(std::shared_ptr<Subscription> subscription) = 0;
        /// To be served at that time, by the threads for consumers that do not answer when `slow`.
        virtual void later(std::shared_ptr<Subscription> subscription, Clock::time_point when,
                           bool slow) = 0;
        /// As soon as may be, what was to be served (not slowly) at `when`; nothing when its turn
        /// has come.
        virtual void sooner(const Subscription& subscription, Clock::time_point when) = 0;
    };

    Subscription(Scheduler& scheduler, const DeliverySettings& settings, std::size_t queueLimit);
    virtual ~Subscription() = default;

    // -- intake
    void offer(const EventPtr& event);
    /// An event was lost before it could be offered. With `isOwn` it is the consumer's own doing,
    /// and begins no event loss.
    void lose(const EventPtr& event, bool isOwn);

    // -- qualities of service
    /// `isOwn`: the consumer has chosen it, so what does not fit is counted and begins no event
    /// loss.
    void setQueueLimit(std::size_t limit, bool isOwn = false);
    void setRules(const QueueRules& rules);
    /// A batch waits until it is full or its first event is that old; 0: not at all.
    void setPacing(std::chrono::milliseconds interval);

    // -- connection
    /// False when there is a connection already.
    bool connect(std::shared_ptr<Receiver> receiver);
    bool isConnected() const;
    /// For a consumer that pulls.
    bool connectPull();
    enum class Change { Done, WasSo, NotConnected };
    Change suspend();
    Change resume();
    /// Ends it for good: what waits is lost, blocked pulls end. The receiver to tell, if there was
    /// one.
    std::shared_ptr<Receiver> close();

    // -- pull consumers
    /// A batch of up to `most` events, as soon as it is full or its pacing interval is over; waits
    /// for it unless `wait` is false (then maybe none). Throws CosEventComm::Disconnected when
    /// there is no connection (any more).
    std::vector<EventPtr> pull(std::size_t most, bool wait);

    /// One turn of the delivery; called by the dispatcher only. Does not throw: a turn that is cut
    /// short, for want of memory, is made again later.
    void serve() noexcept;
    /// To be called a few times a second: drops events whose time is over, gives up a consumer that
    /// has stopped pulling, and schedules a turn for which there was no memory before.
    void tend(Clock::time_point now);

    /// Whose it is; the same from its first event on. Empty: nobody's.
    virtual std::string ownerKey() const { return {}; }
    ConsumerCounts counts() const;
    bool isClosed() const;
    /// True unless it answers and half of its queue or more is taken.
    bool isSettled() const;

  protected:
    // what a subscription tells its channel, without a lock
    /// Events were lost, this one first. Not called for those that a consumer leaves behind by
    /// disconnecting.
    virtual void eventsLost(const Event& first) = 0;
    /// The consumer is dead; nothing more is sent to it.
    virtual void consumerDied(const std::string& why) = 0;

  private:
    /// Paced: scheduled for the time when the first waiting event is old enough for a batch that is
    /// not full.
    enum class State { Idle, Scheduled, Paced, Serving };
    using Lock = std::unique_lock<std::mutex>;

    class Puller;

    void scheduleIfNeeded(Lock& lock);
    template <class Act>
    void schedule(State next, Act act);
    void endPacing(Lock& lock);
    bool hasWork() const;
    bool isBatchDue(std::size_t most) const;
    void serveLocked(Lock& lock);
    bool probeFirst(Lock& lock, Receiver& receiver);
    /// False when the turn is over: nothing is due yet, or the call failed.
    bool deliverBatch(Lock& lock, Receiver& receiver);
    void failed(Lock& lock, const CORBA::SystemException& failure);
    void refused(Lock& lock, const std::string& why);
    void died(Lock& lock, const std::string& why);
    void finishTurn(Lock& lock, bool wasCutShort);
    void tellLost(Lock& lock, const EventPtr& first);
    void tellDeath(Lock& lock);
    /// Events wait and it has not pulled for so long.
    bool hasNotPulledFor(std::chrono::milliseconds time, Clock::time_point now) const;

    Scheduler& scheduler_;
    const DeliverySettings settings_;

    mutable std::mutex mutex_;  // guards what follows
    std::condition_variable changed_;
    EventQueue queue_;
    std::shared_ptr<Receiver> receiver_;
    State state_ = State::Idle;
    Clock::time_point pacedUntil_;
    bool pulls_ = false;
    bool suspended_ = false;
    bool closed_ = false;
    bool answers_ = true;
    bool isDeathUntold_ = false;
    std::chrono::milliseconds pacing_{0};
    std::chrono::milliseconds backOff_;
    Clock::time_point silentSince_;
    int pullers_ = 0;  // calls in progress
    std::uint64_t failures_ = 0;
    std::string lastError_;
};

}  // namespace kelp::notification
