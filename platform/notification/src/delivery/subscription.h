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

/// The events for one consumer after filtering: its queue, its connection and the state of its
/// delivery. Events are delivered in the order of offer(), unless the rules say otherwise. Any
/// thread may call it. One thread at a time serves it.
class Subscription : public std::enable_shared_from_this<Subscription> {
  public:
    using Clock = std::chrono::steady_clock;

    /// Calls serve() on a thread of the dispatcher.
    class Scheduler {
      public:
        virtual ~Scheduler() = default;
        virtual void ready(std::shared_ptr<Subscription> subscription) = 0;
        /// Serve it at `when`. `slow`: on a thread for consumers that do not answer.
        virtual void later(std::shared_ptr<Subscription> subscription, Clock::time_point when,
                           bool slow) = 0;
        /// Serve as soon as possible a subscription that was scheduled for `when` and not as slow.
        /// Does nothing if its turn has already come.
        virtual void sooner(const Subscription& subscription, Clock::time_point when) = 0;
    };

    Subscription(Scheduler& scheduler, const DeliverySettings& settings, std::size_t queueLimit);
    virtual ~Subscription() = default;

    // -- intake
    void offer(const EventPtr& event);
    /// Count an event that was lost before it could be offered. `isOwn`: by the consumer's own
    /// doing; then the loss is not reported.
    void lose(const EventPtr& event, bool isOwn);

    // -- qualities of service
    /// `isOwn`: the consumer has set the limit itself; then events that do not fit are counted, but
    /// not reported as lost.
    void setQueueLimit(std::size_t limit, bool isOwn = false);
    void setRules(const QueueRules& rules);
    /// A batch waits until it is full or its first event is `interval` old. 0: it does not wait.
    void setPacing(std::chrono::milliseconds interval);

    // -- connection
    /// False if it is connected already, or closed.
    bool connect(std::shared_ptr<Receiver> receiver);
    bool isConnected() const;
    /// Connect a consumer that pulls. False if it is connected already, or closed.
    bool connectPull();
    enum class Change { Done, WasSo, NotConnected };
    Change suspend();
    Change resume();
    /// Close for good: waiting events are lost and blocked pulls end. Returns the receiver to be
    /// disconnected, if there was one.
    std::shared_ptr<Receiver> close();

    // -- pull consumers
    /// A batch of up to `most` events, as soon as it is full or its pacing interval is over. If
    /// `wait` is false it returns at once, possibly without events. Throws
    /// CosEventComm::Disconnected if there is no connection, or it ends.
    std::vector<EventPtr> pull(std::size_t most, bool wait);

    /// Make one turn of the delivery. Called only by the dispatcher. Does not throw: a turn that is
    /// cut short for lack of memory is retried later.
    void serve() noexcept;
    /// To be called a few times a second. Drops expired events, gives up a consumer that has
    /// stopped pulling, and schedules a turn for which there was no memory before.
    void tend(Clock::time_point now);

    /// The owner's key, the same from the first event on. Empty: no owner.
    virtual std::string ownerKey() const { return {}; }
    ConsumerCounts counts() const;
    bool isClosed() const;
    /// False while the consumer answers, is not suspended, and its queue is at least half full.
    bool isSettled() const;

  protected:
    // the subscription calls these without a lock
    /// Events were lost, `first` is the first of them. Not called for events that were waiting when
    /// the consumer disconnected.
    virtual void eventsLost(const Event& first) = 0;
    /// The consumer is dead and gets no more events.
    virtual void consumerDied(const std::string& why) = 0;

  private:
    /// Paced: a batch that is not full is scheduled for the time when its first event is old
    /// enough.
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
    /// False when the turn is over: no batch is due yet, or the call failed.
    bool deliverBatch(Lock& lock, Receiver& receiver);
    void failed(Lock& lock, const CORBA::SystemException& failure);
    void refused(Lock& lock, const std::string& why);
    void died(Lock& lock, const std::string& why);
    void finishTurn(Lock& lock, bool wasCutShort);
    void tellLost(Lock& lock, const EventPtr& first);
    void tellDeath(Lock& lock);
    /// Events have been waiting and the consumer has not pulled for this time.
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
    int pullers_ = 0;  // pulls in progress
    std::uint64_t failures_ = 0;
    std::string lastError_;
};

}  // namespace kelp::notification
