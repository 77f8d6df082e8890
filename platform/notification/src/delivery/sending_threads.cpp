#include "delivery/sending_threads.h"

#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace kelp::notification {

namespace {

using util::MutexLock;

/// Consumers that a thread serves before it looks for replies. More would delay the last of them,
/// fewer would cost more looking.
constexpr std::size_t kServedAtOnce = 16;
/// Pushes in progress up to which a consumer goes on without a new turn. More would keep one that
/// has a new event waiting for too long.
constexpr std::size_t kContinuingMax = 64;

thread_local SendingThreads::HandOver* innermost = nullptr;

}  // namespace

SendingThreads::HandOver::HandOver(SendingThreads& threads) : threads_(threads), outer_(innermost) {
    if (outer_ == nullptr)
        innermost = this;
}

SendingThreads::HandOver::~HandOver() {
    if (outer_ != nullptr)
        return;
    innermost = nullptr;
    threads_.handOver(ready_);
}

SendingThreads::SendingThreads(std::size_t threads,
                               std::unique_ptr<kelp::orb::AwaitedPushes> pushes)
    : threadsMax_(std::max<std::size_t>(threads, 1)),
      pushes_(std::move(pushes)),
      turns_(threadsMax_) {}

SendingThreads::~SendingThreads() {
    stop();
}

bool SendingThreads::ready(std::shared_ptr<Subscription> subscription) {
    if (!pushes_)
        return false;
    std::string owner = subscription->ownerKey();
    if (innermost != nullptr && &innermost->threads_ == this) {
        innermost->ready_.push_back({std::move(owner), std::move(subscription)});
        return true;
    }
    return schedule(owner, std::move(subscription), std::nullopt);
}

bool SendingThreads::mayContinue() const {
    return !isAnyoneWaiting_ && pushes_->awaited() <= kContinuingMax &&
           (innermost == nullptr || innermost->ready_.empty());
}

bool SendingThreads::later(std::shared_ptr<Subscription> subscription, Time when) {
    if (!pushes_)
        return false;
    const std::string owner = subscription->ownerKey();
    return schedule(owner, std::move(subscription), when);
}

bool SendingThreads::schedule(const std::string& owner, std::shared_ptr<Subscription> subscription,
                              std::optional<Time> when) {
    bool isToWake = false;
    {
        const MutexLock lock(mutex_);
        if (stopping_)
            return true;
        if (!start())
            return false;
        if (when) {
            turns_.add(owner, *when, std::move(subscription));
            // a thread that sleeps does not know this time
            isToWake = turns_.nextTime() == when && needsWaking();
        } else {
            turns_.add(owner, std::move(subscription));
            isAnyoneWaiting_ = true;
            isToWake = needsWaking();
        }
    }
    if (isToWake)
        pushes_->wake();
    return true;
}

bool SendingThreads::sooner(const Subscription& subscription, Time when) {
    bool isToWake = false;
    {
        const MutexLock lock(mutex_);
        if (!turns_.hasten(subscription, when))
            return false;
        isAnyoneWaiting_ = true;
        isToWake = needsWaking();
    }
    if (isToWake)
        pushes_->wake();
    return true;
}

void SendingThreads::handOver(std::vector<Ready>& ready) noexcept {
    if (ready.empty())
        return;
    std::size_t handedOver = 0;
    bool isToWake = false;
    try {
        const MutexLock lock(mutex_);
        if (!stopping_ && start()) {
            isAnyoneWaiting_ = true;
            for (; handedOver < ready.size(); ++handedOver)
                turns_.add(ready[handedOver].owner, ready[handedOver].subscription);
            isToWake = needsWaking();
        }
    } catch (const std::exception&) {
        // no memory: those left are scheduled later
    }
    if (isToWake)
        pushes_->wake();
    for (; handedOver < ready.size(); ++handedOver)
        ready[handedOver].subscription->wasNotScheduled();
}

bool SendingThreads::start() {
    while (threads_.size() < threadsMax_) {
        try {
            threads_.push_back(util::startThread("sending", [this] { run(); }));
        } catch (const std::exception& failure) {
            if (threads_.empty())
                return false;
            kelp::util::traceFrom("dispatcher",
                                  std::string("a thread could not be started: ") + failure.what(),
                                  kelp::util::TraceKind::Exception);
            break;
        }
    }
    return true;
}

/// Only one thread is woken at a time. It wakes the next one if there is more to do.
bool SendingThreads::needsWaking() {
    if (asleep_ == 0 || isOneBeingWoken_)
        return false;
    isOneBeingWoken_ = true;
    return true;
}

void SendingThreads::take(Taken& taken, std::optional<Time>& until) {
    const Time now = Subscription::Clock::now();
    while (taken.size() < kServedAtOnce) {
        Turns::Waiting next = turns_.take(now);
        if (!next.subscription)
            break;
        // served without waiting, so it does not count as using a thread
        turns_.ended(*next.owner);
        taken.push_back(std::move(next));
    }
    isAnyoneWaiting_ = stopping_ || !turns_.isNoneDue();
    until = taken.empty() ? turns_.nextTime() : now;
}

void SendingThreads::run() {
    Taken taken;
    for (;;) {
        taken.clear();
        std::optional<Time> until;
        bool isToWake = false;
        bool sleeps = false;
        {
            const MutexLock lock(mutex_);
            if (stopping_ && pushes_->awaited() == 0)
                break;
            take(taken, until);
            sleeps = taken.empty();
            if (sleeps)
                ++asleep_;
            else if (taken.size() == kServedAtOnce)
                isToWake = needsWaking();
        }
        if (isToWake)
            pushes_->wake();
        const HandOver together(*this);
        for (const Turns::Waiting& each : taken)
            each.subscription->send(*pushes_);
        const bool wasWoken = pushes_->wait(until);
        if (!sleeps && !wasWoken)
            continue;
        const MutexLock lock(mutex_);
        if (sleeps)
            --asleep_;
        if (wasWoken)
            isOneBeingWoken_ = false;
    }
    // the next thread ends too
    pushes_->wake();
}

void SendingThreads::stop() {
    std::vector<std::thread> ending;
    // may delete subscriptions, which must not happen under the lock
    std::list<Turns::Waiting> forgotten;
    {
        const MutexLock lock(mutex_);
        stopping_ = true;
        isAnyoneWaiting_ = true;
        ending.swap(threads_);
        forgotten = turns_.takeAll();
    }
    if (pushes_)
        pushes_->wake();
    for (std::thread& each : ending)
        each.join();
}

}  // namespace kelp::notification
