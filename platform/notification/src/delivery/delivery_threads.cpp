#include "delivery/delivery_threads.h"

#include <kelp/util/trace_log.h>

#include <algorithm>
#include <exception>
#include <functional>
#include <iterator>
#include <utility>

namespace kelp::notification {

namespace {

using util::MutexLock;
using util::MutexUnlock;

/// Consumers usually stop answering in crowds, so threads of the slow pool are useless after a
/// time without any.
constexpr std::chrono::seconds kIdleTime{10};

/// A thread that never waits keeps one processor busy in a flood. Half of them are left to the
/// receivers and to everything else. More threads would mostly wait for each other's locks.
std::size_t sendingThreadsMax() {
    constexpr std::size_t most = 4;
    return std::clamp<std::size_t>(std::thread::hardware_concurrency() / 2, 1, most);
}

}  // namespace

DeliveryThreads::DeliveryThreads(std::size_t threadsMax, std::size_t slowThreads)
    : sending_(std::min(threadsMax, sendingThreadsMax())),
      fast_(std::max<std::size_t>(threadsMax, 1)),
      slow_(std::max<std::size_t>(slowThreads, 1)) {}

DeliveryThreads::~DeliveryThreads() {
    stop();
}

void DeliveryThreads::serveConsumers(std::size_t count) {
    const MutexLock lock(mutex_);
    if (stopping_)
        return;
    joinEnded();
    fastWanted_ = std::min(count, fast_.threadsMax);
    while (fast_.threads < fastWanted_ && addThread(fast_)) {
    }
    if (fast_.threads > fastWanted_)
        fast_.work.notify_all();
}

void DeliveryThreads::ready(std::shared_ptr<Subscription> subscription) {
    const std::string owner = subscription->ownerKey();
    const MutexLock lock(mutex_);
    // an owner that already has its share of threads continues when one of them becomes free
    if (!stopping_ && fast_.turns.add(owner, std::move(subscription)))
        fast_.work.notify_one();
}

void DeliveryThreads::later(std::shared_ptr<Subscription> subscription,
                            Subscription::Clock::time_point when, bool slow) {
    const std::string owner = subscription->ownerKey();
    const MutexLock lock(mutex_);
    if (stopping_)
        return;
    // before scheduling, so that nothing waits in a pool without threads
    if (slow && slow_.threads < slow_.threadsMax)
        addThread(slow_);
    Lane& lane = slow ? slow_ : fast_;
    lane.turns.add(owner, when, std::move(subscription));
    lane.work.notify_one();
}

bool DeliveryThreads::addThread(Lane& lane) {
    try {
        threads_.emplace_back(&DeliveryThreads::run, this, std::ref(lane));
        ++lane.threads;
        return true;
    } catch (const std::exception& failure) {
        if (lane.threads == 0)
            throw;
        kelp::util::traceFrom("dispatcher",
                              std::string("a thread could not be started: ") + failure.what(),
                              kelp::util::TraceKind::Exception);
        return false;
    }
}

void DeliveryThreads::sooner(const Subscription& subscription,
                             Subscription::Clock::time_point when) {
    if (sending_.sooner(subscription, when))
        return;
    const MutexLock lock(mutex_);
    if (fast_.turns.hasten(subscription, when))
        fast_.work.notify_one();
}

void DeliveryThreads::readyToSend(std::shared_ptr<Subscription> subscription) {
    if (!sending_.ready(subscription))
        ready(std::move(subscription));
}

void DeliveryThreads::laterToSend(std::shared_ptr<Subscription> subscription,
                                  Subscription::Clock::time_point when) {
    if (!sending_.later(subscription, when))
        later(std::move(subscription), when, false);
}

void DeliveryThreads::stop() {
    std::vector<std::thread> ending;
    // may delete subscriptions, which must not happen under the lock
    std::list<Turns::Waiting> fast;
    std::list<Turns::Waiting> slow;
    {
        const MutexLock lock(mutex_);
        stopping_ = true;
        ending.swap(threads_);
        std::move(ended_.begin(), ended_.end(), std::back_inserter(ending));
        ended_.clear();
        fast = fast_.turns.takeAll();
        slow = slow_.turns.takeAll();
        fast_.work.notify_all();
        slow_.work.notify_all();
    }
    sending_.stop();
    for (std::thread& each : ending)
        each.join();
}

std::size_t DeliveryThreads::threads() const {
    const MutexLock lock(mutex_);
    return threads_.size();
}

Turns::Waiting DeliveryThreads::next(Lane& lane, const Turns::Owner* left) {
    const bool isFast = &lane == &fast_;
    while (!stopping_) {
        if (Turns::Waiting next = lane.turns.take(Subscription::Clock::now()); next.subscription) {
            // the owner just left uses one thread less, so another thread may now serve it
            if (left != nullptr && left != next.owner && lane.turns.mayHaveThread(*left))
                lane.work.notify_one();
            return next;
        }
        left = nullptr;  // may be deleted during the wait
        if (isFast && lane.threads > fastWanted_)
            return {};
        if (const auto due = lane.turns.nextTime())
            lane.work.wait_until(mutex_, *due);
        else if (isFast)
            lane.work.wait(mutex_);
        else if (lane.work.wait_for(mutex_, kIdleTime) == std::cv_status::timeout &&
                 lane.turns.empty())
            return {};
    }
    return {};
}

void DeliveryThreads::run(Lane& lane) {
    const MutexLock lock(mutex_);
    Turns::Waiting turn = next(lane, nullptr);
    while (turn.subscription) {
        {
            const MutexUnlock unlocked(mutex_);
            turn.subscription->serve();
            // may delete the subscription, which must not happen under the lock
            turn.subscription.reset();
        }
        lane.turns.ended(*turn.owner);
        turn = next(lane, turn.owner);
    }
    leave(lane);
}

void DeliveryThreads::leave(Lane& lane) {
    // stop() joins all threads
    if (stopping_)
        return;
    --lane.threads;
    const auto self = std::find_if(threads_.begin(), threads_.end(), [](const std::thread& each) {
        return each.get_id() == std::this_thread::get_id();
    });
    ended_.push_back(std::move(*self));
    threads_.erase(self);
}

void DeliveryThreads::joinEnded() {
    // joining takes no time: they have released the lock for the last time
    for (std::thread& each : ended_)
        each.join();
    ended_.clear();
}

}  // namespace kelp::notification
