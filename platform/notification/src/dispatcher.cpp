#include "dispatcher.h"

#include <kelp/util/trace_log.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

namespace kelp::notification {

namespace {

/// Consumers that do not answer come in crowds: after a while without one its threads are not needed.
constexpr std::chrono::seconds kIdleTime{10};

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
    Lock lock(mutex_);
    if (stopping_)
        return;
    joinEnded(lock);
    fastWanted_ = std::min(count, threadsMax_);
    while (fastThreads_ < fastWanted_ && addThread(&Dispatcher::runFast, fastThreads_)) {
    }
    if (fastThreads_ > fastWanted_)
        fastWork_.notify_all();
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
    // first: nothing is scheduled that no thread serves
    if (slow && slowThreads_ < slowThreadsMax_)
        addThread(&Dispatcher::runSlow, slowThreads_);
    if (slow)
        slow_.add(subscription->ownerKey(), when, subscription);
    else
        paced_.emplace(when, std::move(subscription));
    (slow ? slowWork_ : fastWork_).notify_one();
}

bool Dispatcher::addThread(void (Dispatcher::*run)(), std::size_t& count) {
    try {
        threads_.emplace_back(run, this);
        ++count;
        return true;
    } catch (const std::exception& failure) {
        if (count == 0)
            throw;
        kelp::util::traceFrom("dispatcher", std::string("a thread could not be started: ") + failure.what(),
                              kelp::util::TraceKind::Exception);
        return false;
    }
}

void Dispatcher::sooner(const Subscription& subscription, Subscription::Clock::time_point when) {
    const Lock lock(mutex_);
    const auto [first, last] = paced_.equal_range(when);
    const auto found =
        std::find_if(first, last, [&](const auto& each) { return each.second.get() == &subscription; });
    if (found == last)
        return;
    ready_.push_back(found->second);
    paced_.erase(found);
    fastWork_.notify_one();
}

void Dispatcher::stop() {
    std::vector<std::thread> ending;
    // what they refer to may end with them, and must not do so under the lock
    std::deque<std::shared_ptr<Subscription>> ready;
    Timed paced;
    std::vector<std::shared_ptr<Subscription>> slow;
    {
        const Lock lock(mutex_);
        stopping_ = true;
        ending.swap(threads_);
        std::move(ended_.begin(), ended_.end(), std::back_inserter(ending));
        ended_.clear();
        ready.swap(ready_);
        paced.swap(paced_);
        slow = slow_.takeAll();
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
        // taken from where it is: to move it might need memory
        if (!paced_.empty() && paced_.begin()->first <= now) {
            std::shared_ptr<Subscription> next = std::move(paced_.begin()->second);
            paced_.erase(paced_.begin());
            return next;
        }
        if (!ready_.empty()) {
            std::shared_ptr<Subscription> next = std::move(ready_.front());
            ready_.pop_front();
            return next;
        }
        if (fastThreads_ > fastWanted_)
            return nullptr;
        if (paced_.empty())
            fastWork_.wait(lock);
        else
            waitUntil(fastWork_, lock, paced_.begin()->first);
    }
    return nullptr;
}

std::shared_ptr<Subscription> Dispatcher::nextDue(Lock& lock) {
    while (!stopping_) {
        if (std::shared_ptr<Subscription> next = slow_.takeDue(Subscription::Clock::now()))
            return next;
        if (const auto due = slow_.nextTime())
            slowWork_.wait_until(lock, *due);
        else if (slowWork_.wait_for(lock, kIdleTime) == std::cv_status::timeout && slow_.empty())
            return nullptr;
    }
    return nullptr;
}

void Dispatcher::runFast() {
    Lock lock(mutex_);
    while (const std::shared_ptr<Subscription> next = nextReady(lock)) {
        lock.unlock();
        next->serve();
        lock.lock();
    }
    leave(lock, fastThreads_);
}

void Dispatcher::runSlow() {
    Lock lock(mutex_);
    while (const std::shared_ptr<Subscription> next = nextDue(lock)) {
        lock.unlock();
        next->serve();
        lock.lock();
    }
    leave(lock, slowThreads_);
}

void Dispatcher::leave(Lock&, std::size_t& threads) {
    // the stop has them all
    if (stopping_)
        return;
    --threads;
    const auto self = std::find_if(threads_.begin(), threads_.end(), [](const std::thread& each) {
        return each.get_id() == std::this_thread::get_id();
    });
    ended_.push_back(std::move(*self));
    threads_.erase(self);
}

void Dispatcher::joinEnded(Lock&) {
    // at once: they have left the lock for the last time
    for (std::thread& each : ended_)
        each.join();
    ended_.clear();
}

}  // namespace kelp::notification
