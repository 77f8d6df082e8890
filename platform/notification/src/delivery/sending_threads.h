#pragma once

#include <kelp/orb/awaited_pushes.h>
#include <kelp/util/mutex.h>

#include <atomic>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "delivery/subscription.h"
#include "delivery/turns.h"

namespace kelp::notification {

/// A few threads that send pushes without waiting for the replies. Each sends to several consumers
/// and then waits for whatever comes first: a reply, or another consumer. The owners of the
/// consumers take turns. The threads start with the first consumer and end with stop(). Any thread
/// may call it.
class SendingThreads {
  public:
    using Time = Subscription::Clock::time_point;

    /// Without `pushes` every consumer is refused.
    explicit SendingThreads(std::size_t threads, std::unique_ptr<kelp::orb::AwaitedPushes> pushes =
                                                     kelp::orb::makeAwaitedPushes());
    /// Calls stop().
    ~SendingThreads();
    SendingThreads(const SendingThreads&) = delete;
    SendingThreads& operator=(const SendingThreads&) = delete;

    /// A consumer and its owner's key.
    struct Ready {
        std::string owner;
        std::shared_ptr<Subscription> subscription;
    };

    /// Collects what the calling thread makes ready during the object's life, and then hands it
    /// over at once. Within another one it does nothing.
    class HandOver {
      public:
        explicit HandOver(SendingThreads& threads);
        ~HandOver();
        HandOver(const HandOver&) = delete;
        HandOver& operator=(const HandOver&) = delete;

      private:
        friend class SendingThreads;
        SendingThreads& threads_;
        HandOver* const outer_;
        std::vector<Ready> ready_;
    };

    /// Let a consumer be served. Return false if no thread can serve it.
    bool ready(std::shared_ptr<Subscription> subscription) KELP_EXCLUDES(mutex_);
    bool later(std::shared_ptr<Subscription> subscription, Time when) KELP_EXCLUDES(mutex_);
    /// Serve as soon as possible a consumer that was scheduled for `when`. False if it was not.
    bool sooner(const Subscription& subscription, Time when) KELP_EXCLUDES(mutex_);
    /// Whether the calling thread may go on with a consumer whose push has just ended, without a
    /// new turn: nobody waits for a turn, and not too many consumers do the same.
    bool mayContinue() const;
    /// End the threads once the pushes in progress have ended, and forget what is scheduled.
    void stop() KELP_EXCLUDES(mutex_);

  private:
    using Taken = std::vector<Turns::Waiting>;

    /// Without `when`: now. False if no thread can serve the consumer.
    bool schedule(const std::string& owner, std::shared_ptr<Subscription> subscription,
                  std::optional<Time> when) KELP_EXCLUDES(mutex_);
    bool start() KELP_REQUIRES(mutex_);
    bool needsWaking() KELP_REQUIRES(mutex_);
    void handOver(std::vector<Ready>& ready) noexcept KELP_EXCLUDES(mutex_);
    void run() KELP_EXCLUDES(mutex_);
    /// The next consumers to serve. Empty: there is nothing to do until `until`.
    void take(Taken& taken, std::optional<Time>& until) KELP_REQUIRES(mutex_);

    const std::size_t threadsMax_;
    const std::unique_ptr<kelp::orb::AwaitedPushes> pushes_;
    util::Mutex mutex_{util::LockRank::Leaf, "SendingThreads::mutex_"};
    /// Written under the lock, read without it. True also after stop().
    std::atomic<bool> isAnyoneWaiting_{false};
    Turns turns_ KELP_GUARDED_BY(mutex_);
    std::vector<std::thread> threads_ KELP_GUARDED_BY(mutex_);
    std::size_t asleep_ KELP_GUARDED_BY(mutex_) = 0;
    bool isOneBeingWoken_ KELP_GUARDED_BY(mutex_) = false;
    bool stopping_ KELP_GUARDED_BY(mutex_) = false;
};

}  // namespace kelp::notification
