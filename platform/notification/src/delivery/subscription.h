#pragma once

#include <kelp/notification/channel.h>
#include <kelp/orb/corba.h>
#include <kelp/util/mutex.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "delivery/connected_consumer.h"
#include "delivery/event_queue.h"

namespace kelp::notification {

/// The events for one consumer after filtering: its queue, its connection and the state of its
/// delivery. Events are delivered in the order of enqueue(), unless the rules say otherwise. Any
/// thread may call it. One thread at a time serves it.
class Subscription : public std::enable_shared_from_this<Subscription>,
                     public kelp::orb::PushWaiter {
  public:
    using Clock = std::chrono::steady_clock;

    /// Calls serve() on a delivery thread, which waits for the consumer, or send() on a thread that
    /// does not wait.
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
        /// The same as ready() and later(), but for send().
        virtual void readyToSend(std::shared_ptr<Subscription> subscription) {
            ready(std::move(subscription));
        }
        /// Whether a consumer whose push has just ended may be sent the next one by the same
        /// thread, because nobody else waits for it.
        virtual bool mayContinue() const { return false; }
        virtual void laterToSend(std::shared_ptr<Subscription> subscription,
                                 Clock::time_point when) {
            later(std::move(subscription), when, false);
        }
    };

    Subscription(Scheduler& scheduler, const DeliverySettings& settings, std::size_t queueLimit);
    ~Subscription() override = default;

    // -- intake
    void enqueue(const EventPtr& event) KELP_EXCLUDES(mutex_);
    /// Count an event that was lost before it could be queued. `isOwn`: by the consumer's own
    /// doing; then the loss is not reported.
    void lose(const EventPtr& event, bool isOwn) KELP_EXCLUDES(mutex_);

    // -- qualities of service
    /// `isOwn`: the consumer has set the limit itself; then events that do not fit are counted, but
    /// not reported as lost.
    void setQueueLimit(std::size_t limit, bool isOwn = false) KELP_EXCLUDES(mutex_);
    void setRules(const QueueRules& rules) KELP_EXCLUDES(mutex_);
    /// A batch waits until it is full or its first event is `interval` old. 0: it does not wait.
    void setPacing(std::chrono::milliseconds interval) KELP_EXCLUDES(mutex_);

    // -- connection
    /// False if it is connected already, or closed.
    bool connect(std::shared_ptr<ConnectedConsumer> consumer) KELP_EXCLUDES(mutex_);
    bool isConnected() const KELP_EXCLUDES(mutex_);
    /// Connect a consumer that pulls. False if it is connected already, or closed.
    bool connectPull() KELP_EXCLUDES(mutex_);
    enum class Change { Done, WasSo, NotConnected };
    Change suspend() KELP_EXCLUDES(mutex_);
    Change resume() KELP_EXCLUDES(mutex_);
    /// Close for good: waiting events are lost and blocked pulls end. Returns the consumer to be
    /// disconnected, if there was one.
    std::shared_ptr<ConnectedConsumer> close() KELP_EXCLUDES(mutex_);

    // -- pull consumers
    /// A batch of up to `most` events, as soon as it is full or its pacing interval is over. If
    /// `wait` is false it returns at once, possibly without events. Throws
    /// CosEventComm::Disconnected if there is no connection, or it ends.
    std::vector<EventPtr> pull(std::size_t most, bool wait) KELP_EXCLUDES(mutex_);

    /// Make one turn of the delivery. Called only by a delivery thread. Does not throw: a turn that
    /// is cut short for lack of memory is retried later.
    void serve() noexcept KELP_EXCLUDES(mutex_);
    /// Begin one turn without waiting: send the next batch. The turn ends with ended(). If it
    /// cannot begin in this way, a turn of serve() is scheduled.
    void send(kelp::orb::AwaitedPushes& pushes) noexcept KELP_EXCLUDES(mutex_);
    /// The batch that was sent has been answered, or not in time.
    void ended(kelp::orb::EndedPush& push) noexcept override KELP_EXCLUDES(mutex_);
    /// The turn that was to be scheduled could not be, for lack of memory. tend() schedules
    /// another.
    void wasNotScheduled() KELP_EXCLUDES(mutex_);
    /// To be called a few times a second. Drops expired events, gives up a consumer that has
    /// stopped pulling, and schedules a turn for which there was no memory before.
    void tend(Clock::time_point now) KELP_EXCLUDES(mutex_);

    /// The owner's key, the same from the first event on. Empty: no owner.
    virtual std::string ownerKey() const { return {}; }
    ConsumerCounts counts() const KELP_EXCLUDES(mutex_);
    bool isClosed() const KELP_EXCLUDES(mutex_);
    /// False while the consumer answers, is not suspended, and its queue is at least half full.
    bool isSettled() const KELP_EXCLUDES(mutex_);

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

    class Puller;

    void scheduleIfNeeded() KELP_REQUIRES(mutex_);
    /// These two set the state and schedule a turn. If there is no memory for the turn the state
    /// becomes idle until tend() or the next event.
    void scheduleNow() KELP_REQUIRES(mutex_);
    void scheduleLater(State next, Clock::time_point when, bool isSlow) KELP_REQUIRES(mutex_);
    void endPacing() KELP_REQUIRES(mutex_);
    bool hasWork() const KELP_REQUIRES(mutex_);
    bool isBatchDue(std::size_t most) const KELP_REQUIRES(mutex_);
    void serveLocked() KELP_REQUIRES(mutex_);
    bool probeFirst(ConnectedConsumer& consumer) KELP_REQUIRES(mutex_);
    /// False when the turn is over: no batch is due yet, or the call failed.
    bool deliverBatch(ConnectedConsumer& consumer) KELP_REQUIRES(mutex_);
    /// True if a batch was sent. Another thread may have ended its turn since then.
    bool sendBatch(kelp::orb::AwaitedPushes& pushes) KELP_REQUIRES(mutex_);
    /// Make a call that delivers the batch, or ends its delivery, without the lock. Returns what it
    /// returns, or false if the call failed, which it notes.
    template <class Call>
    bool makeCall(const Call& call) KELP_REQUIRES(mutex_);
    bool isSent() const KELP_REQUIRES(mutex_) {
        return answers_ && waitingTurns_ == 0 && consumer_ && consumer_->canSend();
    }
    void waitForTurns() KELP_REQUIRES(mutex_);
    void noteCutShort() KELP_REQUIRES(mutex_);
    void noteCall(Clock::duration duration, std::size_t events) KELP_REQUIRES(mutex_);
    void failed(const CORBA::SystemException& failure) KELP_REQUIRES(mutex_);
    void refused(const std::string& why) KELP_REQUIRES(mutex_);
    void died(const std::string& why) KELP_REQUIRES(mutex_);
    void finishTurn(bool wasCutShort) KELP_REQUIRES(mutex_);
    // these two release the lock for the call
    void tellLost(const EventPtr& first) KELP_REQUIRES(mutex_);
    void tellDeath() KELP_REQUIRES(mutex_);
    /// Events have been waiting and the consumer has not pulled for this time.
    bool hasNotPulledFor(std::chrono::milliseconds time, Clock::time_point now) const
        KELP_REQUIRES(mutex_);

    Scheduler& scheduler_;
    const DeliverySettings settings_;

    mutable util::Mutex mutex_{util::LockRank::ChannelPart, "Subscription::mutex_"};
    util::ConditionVariable changed_;
    EventQueue queue_ KELP_GUARDED_BY(mutex_);
    std::shared_ptr<ConnectedConsumer> consumer_ KELP_GUARDED_BY(mutex_);
    State state_ KELP_GUARDED_BY(mutex_) = State::Idle;
    Clock::time_point pacedUntil_ KELP_GUARDED_BY(mutex_);
    bool pulls_ KELP_GUARDED_BY(mutex_) = false;
    bool suspended_ KELP_GUARDED_BY(mutex_) = false;
    bool closed_ KELP_GUARDED_BY(mutex_) = false;
    bool answers_ KELP_GUARDED_BY(mutex_) = true;
    bool isDeathUntold_ KELP_GUARDED_BY(mutex_) = false;
    int waitingTurns_ KELP_GUARDED_BY(mutex_) =
        0;  ///< the number of turns that are left to serve()
    int nextWaitingTurns_ KELP_GUARDED_BY(mutex_) = 1;
    kelp::orb::AwaitedPushes* sentWith_ KELP_GUARDED_BY(mutex_) = nullptr;
    Clock::time_point sentAt_ KELP_GUARDED_BY(mutex_){};
    std::chrono::milliseconds pacing_ KELP_GUARDED_BY(mutex_){0};
    std::chrono::milliseconds backOff_ KELP_GUARDED_BY(mutex_);
    Clock::time_point silentSince_ KELP_GUARDED_BY(mutex_);
    int pullers_ KELP_GUARDED_BY(mutex_) = 0;  ///< pulls in progress
    std::uint64_t failures_ KELP_GUARDED_BY(mutex_) = 0;
    std::string lastError_ KELP_GUARDED_BY(mutex_);
    std::uint64_t pushCalls_ KELP_GUARDED_BY(mutex_) = 0;
    double callMicroseconds_ KELP_GUARDED_BY(mutex_) = 0;  ///< average
    double eventsPerCall_ KELP_GUARDED_BY(mutex_) = 0;     ///< average
};

}  // namespace kelp::notification
