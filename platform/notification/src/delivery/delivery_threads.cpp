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

}  // namespace

DeliveryThreads::DeliveryThreads(std::size_t threadsMax, std::size_t slowThreads)
    : wakingMax_(std::max(std::thread::hardware_concurrency(), 1U)),
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
    util::ConditionVariable* toNotify = nullptr;
    {
        const MutexLock lock(mutex_);
        if (stopping_)
            return;
        fast_.turns.add(owner, std::move(subscription));
        if (wakesThread(fast_))
            toNotify = &fast_.work;
    }
    if (toNotify != nullptr)
        toNotify->notify_one();
}

bool DeliveryThreads::wakesThread(Lane& lane) {
    if (lane.waking >= std::min(lane.asleep, wakingMax_))
        return false;
    const auto due = lane.turns.nextTime();
    const bool isUnwatched = due && !(lane.watchedTime && *lane.watchedTime <= *due);
    if (!isUnwatched && !lane.turns.mayTake())
        return false;
    ++lane.waking;
    return true;
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
    if (wakesThread(lane))
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
    const MutexLock lock(mutex_);
    if (fast_.turns.hasten(subscription, when) && wakesThread(fast_))
        fast_.work.notify_one();
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
    for (std::thread& each : ending)
        each.join();
}

std::size_t DeliveryThreads::threads() const {
    const MutexLock lock(mutex_);
    return threads_.size();
}

Turns::Waiting DeliveryThreads::next(Lane& lane) {
    while (!stopping_) {
        if (Turns::Waiting next = lane.turns.take(Subscription::Clock::now()); next.subscription)
            return next;
        if ((&lane == &fast_ && lane.threads > fastWanted_) || !sleep(lane))
            return {};
    }
    return {};
}

bool DeliveryThreads::sleep(Lane& lane) {
    bool isIdle = false;
    const auto due = lane.turns.nextTime();
    ++lane.asleep;
    if (due && !(lane.watchedTime && *lane.watchedTime <= *due)) {
        lane.watchedTime = due;
        lane.work.wait_until(mutex_, *due);
        if (lane.watchedTime == due)
            lane.watchedTime.reset();
    } else if (&lane == &fast_) {
        lane.work.wait(mutex_);
    } else {
        isIdle = lane.work.wait_for(mutex_, kIdleTime) == std::cv_status::timeout;
    }
    --lane.asleep;
    // A thread whose wait has timed out counts as one of those being woken. Otherwise, when a
    // notification finds no thread asleep, the count would stay too high and later none be woken.
    if (lane.waking > 0)
        --lane.waking;
    return !isIdle || !lane.turns.empty();
}

void DeliveryThreads::run(Lane& lane) {
    const MutexLock lock(mutex_);
    Turns::Waiting turn = next(lane);
    while (turn.subscription) {
        const bool wakes = wakesThread(lane);
        {
            const MutexUnlock unlocked(mutex_);
            if (wakes)
                lane.work.notify_one();
            turn.subscription->serve();
            // may delete the subscription, which must not happen under the lock
            turn.subscription.reset();
        }
        lane.turns.ended(*turn.owner);
        turn = next(lane);
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
