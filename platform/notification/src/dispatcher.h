#pragma once

#include "slow_turns.h"
#include "subscription.h"

#include <deque>
#include <map>
#include <thread>

namespace kelp::notification {

/// The threads that deliver events. One pool grows and shrinks with the consumers, up to a limit; a small
/// separate one serves those that did not answer, their owners in turn, so that however many of them hang the
/// others keep their threads. Its threads end when there has been nothing to do for 10 s.
class Dispatcher final : public Subscription::Scheduler {
  public:
    Dispatcher(std::size_t threadsMax, std::size_t slowThreads);
    /// stop().
    ~Dispatcher() override;
    Dispatcher(const Dispatcher&) = delete;
    Dispatcher& operator=(const Dispatcher&) = delete;

    /// Makes threads for this number of consumers, up to the limit. Threads beyond it end once they have
    /// nothing in hand.
    void serveConsumers(std::size_t count);
    void ready(std::shared_ptr<Subscription> subscription) override;
    void later(std::shared_ptr<Subscription> subscription, Subscription::Clock::time_point when,
               bool slow) override;
    void sooner(const Subscription& subscription, Subscription::Clock::time_point when) override;
    /// Ends the threads after the calls in progress; what is scheduled is forgotten.
    void stop();

    std::size_t threads() const;

  private:
    using Lock = std::unique_lock<std::mutex>;
    using Timed = std::multimap<Subscription::Clock::time_point, std::shared_ptr<Subscription>>;

    /// False, and traced, when there can be no more threads than there are. Throws when there is none.
    bool addThread(void (Dispatcher::*run)(), std::size_t& count);
    void runFast();
    void runSlow();
    std::shared_ptr<Subscription> nextReady(Lock& lock);
    std::shared_ptr<Subscription> nextDue(Lock& lock);
    void leave(Lock& lock, std::size_t& threads);
    void joinEnded(Lock& lock);

    const std::size_t threadsMax_;
    const std::size_t slowThreadsMax_;
    mutable std::mutex mutex_;  // guards what follows
    std::condition_variable fastWork_;
    std::condition_variable slowWork_;
    std::deque<std::shared_ptr<Subscription>> ready_;
    Timed paced_;
    SlowTurns slow_;
    bool stopping_ = false;
    std::vector<std::thread> threads_;
    std::vector<std::thread> ended_;  ///< to be joined
    std::size_t fastWanted_ = 0;
    std::size_t fastThreads_ = 0;
    std::size_t slowThreads_ = 0;
};

}  // namespace kelp::notification
