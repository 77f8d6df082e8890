#include "dispatcher.h"

#include <kelp/util/trace_log.h>

#include <algorithm>
#include <exception>

namespace kelp::notification {

namespace {

void serve(Subscription& subscription) {
    try {
        subscription.serve();
    } catch (const std::exception& failure) {
        kelp::util::traceFrom("dispatcher", std::string("a delivery failed: ") + failure.what(),
                              kelp::util::TraceKind::Exception);
    }
}

/// By value: another thread may take the entry this time belongs to while this one sleeps, and the wait reads
/// its time again after it woke.
void waitUntil(std::condition_variable& changed, std::unique_lock<std::mutex>& lock,
               const Subscription::Clock::time_point when) {
    changed.wait_until(lock, when);
}

}  // namespace

Dispatcher::Dispatcher(std::size_t threadsMax, std::size_t slowThreads)
    : threadsMax_(std::max<std::size_t>(threadsMax, 1)),
      slowThreadsMax_(std::max<std::size_t>(slowThreads, 1)) {}

Dispatcher::~Dispatcher() {
    stop();
}

void Dispatcher::serveConsumers(std::size_t count) {
    const Lock lock(mutex_);
    if (stopping_)
        return;
    for (; fastThreads_ < std::min(count, threadsMax_); ++fastThreads_)
        threads_.emplace_back([this] { runFast(); });
}

void Dispatcher::ready(std::shared_ptr<Subscription> subscription) {
    const Lock lock(mutex_);
    if (stopping_)
        return;
    ready_.push_back(std::move(subscription));
    fastWork_.notify_one();
}

void Dispatcher::later(std::shared_ptr<Subscription> subscription, Subscription::Clock::time_point when,
                       bool slow) {
    const Lock lock(mutex_);
    if (stopping_)
        return;
    (slow ? slow_ : paced_).emplace(when, std::move(subscription));
    if (slow && slowThreads_ < slowThreadsMax_) {
        threads_.emplace_back([this] { runSlow(); });
        ++slowThreads_;
    }
    (slow ? slowWork_ : fastWork_).notify_one();
}

void Dispatcher::sooner(const Subscription& subscription, Subscription::Clock::time_point when) {
    const Lock lock(mutex_);
    const auto [first, last] = paced_.equal_range(when);
    const auto found =
        std::find_if(first, last, [&](const auto& each) { return each.second.get() == &subscription; });
    if (found == last)
        return;
    ready_.push_back(std::move(found->second));
    paced_.erase(found);
    fastWork_.notify_one();
}

void Dispatcher::stop() {
    std::vector<std::thread> ending;
    // what they refer to may end with them, and must not do so under the lock
    std::deque<std::shared_ptr<Subscription>> ready;
    Timed paced;
    Timed slow;
    {
        const Lock lock(mutex_);
        stopping_ = true;
        ending.swap(threads_);
        ready.swap(ready_);
        paced.swap(paced_);
        slow.swap(slow_);
        fastWork_.notify_all();
        slowWork_.notify_all();
    }
    for (std::thread& each : ending)
        each.join();
}

std::size_t Dispatcher::threads() const {
    const Lock lock(mutex_);
    return threads_.size();
}

std::shared_ptr<Subscription> Dispatcher::nextReady(Lock& lock) {
    while (!stopping_) {
        const auto now = Subscription::Clock::now();
        for (; !paced_.empty() && paced_.begin()->first <= now; paced_.erase(paced_.begin()))
            ready_.push_back(std::move(paced_.begin()->second));
        if (!ready_.empty()) {
            std::shared_ptr<Subscription> next = std::move(ready_.front());
            ready_.pop_front();
            return next;
        }
        if (paced_.empty())
            fastWork_.wait(lock);
        else
            waitUntil(fastWork_, lock, paced_.begin()->first);
    }
    return nullptr;
}

std::shared_ptr<Subscription> Dispatcher::nextDue(Lock& lock) {
    while (!stopping_) {
        if (slow_.empty()) {
            slowWork_.wait(lock);
            continue;
        }
        if (slow_.begin()->first > Subscription::Clock::now()) {
            waitUntil(slowWork_, lock, slow_.begin()->first);
            continue;
        }
        std::shared_ptr<Subscription> next = std::move(slow_.begin()->second);
        slow_.erase(slow_.begin());
        return next;
    }
    return nullptr;
}

void Dispatcher::runFast() {
    Lock lock(mutex_);
    while (const std::shared_ptr<Subscription> next = nextReady(lock)) {
        lock.unlock();
        serve(*next);
        lock.lock();
    }
}

void Dispatcher::runSlow() {
    Lock lock(mutex_);
    while (const std::shared_ptr<Subscription> next = nextDue(lock)) {
        lock.unlock();
        serve(*next);
        lock.lock();
    }
}

}  // namespace kelp::notification
