#pragma once

#include <thread>

#include "delivery/subscription.h"
#include "delivery/turns.h"

namespace kelp::notification {

/// The threads that deliver events. One pool grows and shrinks with the consumers, up to a limit; a
/// small separate one serves those that did not answer, so that however many of them hang the
/// others keep their threads. Its threads end when there has been nothing to do for 10 s. In both
/// the owners of the consumers take turns.
class Dispatcher final : public Subscription::Scheduler {
  public:
    Dispatcher(std::size_t threadsMax, std::size_t slowThreads);
    /// stop().
    ~Dispatcher() override;
    Dispatcher(const Dispatcher&) = delete;
    Dispatcher& operator=(const Dispatcher&) = delete;

    /// Makes threads for this number of consumers, up to the limit. Threads beyond it end once they
    /// have nothing in hand.
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
    /// A pool of threads and what waits for them.
    struct Lane {
        explicit Lane(std::size_t most) : threadsMax(most), turns(most) {}
        const std::size_t threadsMax;
        Turns turns;
        std::condition_variable work;
        std::size_t threads = 0;
    };

    /// False, and traced, when there can be no more threads than there are. Throws when there is
    /// none.
    bool addThread(Lane& lane);
    void run(Lane& lane);
    /// For a thread that has just served a consumer of `left`, if any. Without a subscription when
    /// it is to end.
    Turns::Waiting next(Lane& lane, Lock& lock, const Turns::Owner* left);
    void leave(Lock& lock, Lane& lane);
    void joinEnded(Lock& lock);

    mutable std::mutex mutex_;  // guards what follows
    Lane fast_;
    Lane slow_;
    bool stopping_ = false;
    std::vector<std::thread> threads_;
    std::vector<std::thread> ended_;  ///< to be joined
    std::size_t fastWanted_ = 0;
};

}  // namespace kelp::notification
