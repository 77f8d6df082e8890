#pragma once

#include <kelp/util/mutex.h>

#include <thread>

#include "delivery/sending_threads.h"
#include "delivery/subscription.h"
#include "delivery/turns.h"

namespace kelp::notification {

/// The threads that deliver events. One pool grows and shrinks with the number of consumers, up to
/// a limit. A small second pool serves the consumers that did not answer, so the others keep their
/// threads however many hang. Threads of the second pool end after 10 s without work. Both pools
/// wait for the consumers that they call. The consumers that can be served without waiting are left
/// to SendingThreads. Everywhere the owners of the consumers take turns. Any thread may call it.
class DeliveryThreads final : public Subscription::Scheduler {
  public:
    DeliveryThreads(std::size_t threadsMax, std::size_t slowThreads);
    /// Calls stop().
    ~DeliveryThreads() override;
    DeliveryThreads(const DeliveryThreads&) = delete;
    DeliveryThreads& operator=(const DeliveryThreads&) = delete;

    /// Start threads for this number of consumers, up to the limit. Surplus threads end once they
    /// are idle.
    void serveConsumers(std::size_t count) KELP_EXCLUDES(mutex_);
    void ready(std::shared_ptr<Subscription> subscription) override KELP_EXCLUDES(mutex_);
    void later(std::shared_ptr<Subscription> subscription, Subscription::Clock::time_point when,
               bool slow) override KELP_EXCLUDES(mutex_);
    void sooner(const Subscription& subscription, Subscription::Clock::time_point when) override
        KELP_EXCLUDES(mutex_);
    void readyToSend(std::shared_ptr<Subscription> subscription) override KELP_EXCLUDES(mutex_);
    bool mayContinue() const override { return sending_.mayContinue(); }
    void laterToSend(std::shared_ptr<Subscription> subscription,
                     Subscription::Clock::time_point when) override KELP_EXCLUDES(mutex_);
    /// Where the consumers of one event are handed over together.
    SendingThreads& sendingThreads() { return sending_; }
    /// End the threads after the calls in progress, and forget what is scheduled.
    void stop() KELP_EXCLUDES(mutex_);

    std::size_t threads() const KELP_EXCLUDES(mutex_);

  private:
    /// A pool of threads and the consumers that wait for them.
    struct Lane {
        explicit Lane(std::size_t most) : threadsMax(most), turns(most) {}
        const std::size_t threadsMax;
        Turns turns;
        util::ConditionVariable work;
        std::size_t threads = 0;
    };

    /// If no thread can be started: throw if the pool has none, else trace it and return false.
    bool addThread(Lane& lane) KELP_REQUIRES(mutex_);
    void run(Lane& lane) KELP_EXCLUDES(mutex_);
    /// The next consumer to serve; none when the thread must end. `left` is the owner of the
    /// consumer that the thread has just served, if any.
    Turns::Waiting next(Lane& lane, const Turns::Owner* left) KELP_REQUIRES(mutex_);
    void leave(Lane& lane) KELP_REQUIRES(mutex_);
    void joinEnded() KELP_REQUIRES(mutex_);

    SendingThreads sending_;
    mutable util::Mutex mutex_{util::LockRank::Leaf, "DeliveryThreads::mutex_"};
    Lane fast_ KELP_GUARDED_BY(mutex_);
    Lane slow_ KELP_GUARDED_BY(mutex_);
    bool stopping_ KELP_GUARDED_BY(mutex_) = false;
    std::vector<std::thread> threads_ KELP_GUARDED_BY(mutex_);
    std::vector<std::thread> ended_ KELP_GUARDED_BY(mutex_);  ///< to be joined
    std::size_t fastWanted_ KELP_GUARDED_BY(mutex_) = 0;
};

}  // namespace kelp::notification
