#include "watcher.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace kelp::orb::gate {

namespace {

constexpr std::uint64_t kWakeId = 0;
constexpr std::uint64_t kListenerId = 1;
constexpr std::size_t kEventsMax = 64;
constexpr std::chrono::milliseconds kSoon{50};
constexpr std::chrono::milliseconds kSweepPause{1000};
/// Without a free descriptor an immediate retry would fail as well.
constexpr std::chrono::milliseconds kListenPause{100};

int orThrow(int descriptor, const char* what) {
    if (descriptor < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return descriptor;
}

epoll_event eventFor(std::uint64_t id, std::uint32_t events) {
    epoll_event event{};
    event.events = events;
    event.data.u64 = id;
    return event;
}

}  // namespace

Watcher::Watcher() : epoll_(orThrow(::epoll_create1(EPOLL_CLOEXEC), "epoll_create1")) {
    wakes_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    epoll_event event = eventFor(kWakeId, EPOLLIN);
    if (wakes_ < 0 || ::epoll_ctl(epoll_, EPOLL_CTL_ADD, wakes_, &event) != 0) {
        const int error = errno;
        ::close(epoll_);
        if (wakes_ >= 0)
            ::close(wakes_);
        throw std::system_error(error, std::generic_category(), "eventfd");
    }
}

Watcher::~Watcher() {
    ::close(wakes_);
    ::close(epoll_);
}

void Watcher::listenOn(int descriptor) {
    listener_ = descriptor;
    epoll_event event = eventFor(kListenerId, EPOLLIN);
    isListening_ = ::epoll_ctl(epoll_, EPOLL_CTL_ADD, listener_, &event) == 0;
}

void Watcher::setListening(bool listening) {
    epoll_event event = eventFor(kListenerId, listening ? EPOLLIN : 0U);
    if (listener_ >= 0 && ::epoll_ctl(epoll_, EPOLL_CTL_MOD, listener_, &event) == 0)
        isListening_ = listening;
}

bool Watcher::add(Watched& watched) {
    const util::MutexLock lock(mutex_);
    const std::uint64_t id = ++lastId_;
    epoll_event event = eventFor(id, EPOLLONESHOT);
    if (::epoll_ctl(epoll_, EPOLL_CTL_ADD, watched.descriptor(), &event) != 0)
        return false;
    known_.emplace(id, &watched);
    const util::MutexLock state(watched.mutex_);
    watched.id_ = id;
    return true;
}

void Watcher::remove(Watched& watched) {
    unwant(watched);
    const util::MutexLock lock(mutex_);
    const util::MutexLock state(watched.mutex_);
    if (watched.id_ == 0)
        return;
    known_.erase(watched.id_);
    watched.id_ = 0;
    epoll_event event{};
    ::epoll_ctl(epoll_, EPOLL_CTL_DEL, watched.descriptor(), &event);
}

/// An error or a hang-up counts as an arrival.
void Watcher::arm(Watched& watched) {
    epoll_event event = eventFor(watched.id_, EPOLLIN | EPOLLRDHUP | EPOLLONESHOT);
    watched.armed_ = ::epoll_ctl(epoll_, EPOLL_CTL_MOD, watched.descriptor(), &event) == 0;
}

void Watcher::want(Watched& watched, When when) {
    std::uint64_t id = 0;
    {
        const util::MutexLock state(watched.mutex_);
        if (watched.id_ == 0)
            return;
        id = watched.id_;
        watched.wanted_ = true;
        if (when == When::Now && !watched.armed_)
            arm(watched);
    }
    if (when == When::AtOnce) {
        {
            const util::MutexLock lock(mutex_);
            prompted_.push_back(id);
        }
        wake();
    }
    if (when == When::Soon && !stirred_.load(std::memory_order_relaxed) && !stirred_.exchange(true))
        wake();
}

void Watcher::unwant(Watched& watched) {
    const util::MutexLock state(watched.mutex_);
    watched.wanted_ = false;
    if (!watched.isHandled_)
        return;
    watched.dropped_ = true;
    // the report itself may call this, and must not wait for its own end
    if (thread_.load() == std::this_thread::get_id())
        return;
    while (watched.isHandled_)
        watched.handled_.wait(watched.mutex_);
}

bool Watcher::isWanted(Watched& watched) const {
    const util::MutexLock state(watched.mutex_);
    return watched.wanted_;
}

void Watcher::wake() {
    const std::uint64_t one = 1;
    (void)!::write(wakes_, &one, sizeof one);
}

void Watcher::drainWakes() {
    std::uint64_t count = 0;
    (void)!::read(wakes_, &count, sizeof count);
}

int Watcher::timeout(Clock::time_point now) const {
    Clock::time_point next = sweepNext_;
    if (willArm_)
        next = std::min(next, armNext_);
    if (!isListening_)
        next = std::min(next, listenAgain_);
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - now).count();
    return static_cast<int>(
        std::clamp<std::chrono::milliseconds::rep>(left, 0, kSweepPause.count()));
}

void Watcher::round(Handler& handler) {
    thread_ = std::this_thread::get_id();
    std::array<epoll_event, kEventsMax> events{};
    const Clock::time_point begin = Clock::now();
    if (stirred_ && !willArm_) {
        willArm_ = true;
        armNext_ = begin + kSoon;
    }
    const int count = ::epoll_wait(epoll_, events.data(), kEventsMax, timeout(begin));
    for (int i = 0; i < count; ++i) {
        const std::uint64_t id = events[static_cast<std::size_t>(i)].data.u64;
        if (id == kWakeId)
            drainWakes();
        else if (id == kListenerId)
            acceptWaiting(handler);
        else
            report(id, handler);
    }
    reportPrompted(handler);
    const Clock::time_point now = Clock::now();
    if (!isListening_ && listener_ >= 0 && now >= listenAgain_)
        setListening(true);
    if (willArm_ && now >= armNext_)
        armWanted();
    if (now >= sweepNext_)
        sweep(handler, now);
}

void Watcher::acceptWaiting(Handler& handler) {
    if (handler.accept())
        return;
    setListening(false);
    listenAgain_ = Clock::now() + kListenPause;
}

void Watcher::report(std::uint64_t id, Handler& handler) {
    Watched* watched = nullptr;
    {
        const util::MutexLock lock(mutex_);
        const auto found = known_.find(id);
        // removed after the system reported it
        if (found == known_.end())
            return;
        watched = found->second;
        const util::MutexLock state(watched->mutex_);
        watched->armed_ = false;
        if (!watched->wanted_)
            return;
        watched->wanted_ = false;
        watched->dropped_ = false;
        watched->isHandled_ = true;
    }
    const Handler::After after = handler.arrived(*watched);
    {
        const util::MutexLock state(watched->mutex_);
        watched->isHandled_ = false;
        if (after == Handler::After::WatchAgain && !watched->dropped_) {
            watched->wanted_ = true;
            arm(*watched);
        }
        // notify under the lock: once that is free the connection may be gone
        watched->handled_.notify_all();
    }
    if (after == Handler::After::Discard) {
        remove(*watched);
        handler.discard(*watched);
    }
}

void Watcher::reportPrompted(Handler& handler) {
    std::vector<std::uint64_t> ids;
    {
        const util::MutexLock lock(mutex_);
        ids.swap(prompted_);
    }
    for (const std::uint64_t id : ids)
        report(id, handler);
}

void Watcher::armWanted() {
    willArm_ = false;
    stirred_ = false;
    const util::MutexLock lock(mutex_);
    for (const auto& [id, watched] : known_) {
        const util::MutexLock state(watched->mutex_);
        if (watched->wanted_ && !watched->armed_)
            arm(*watched);
    }
}

void Watcher::sweep(Handler& handler, Clock::time_point now) {
    sweepNext_ = now + kSweepPause;
    {
        const util::MutexLock lock(mutex_);
        for (const auto& [id, watched] : known_)
            handler.sweep(*watched, now);
    }
    handler.tidy(now);
}

}  // namespace kelp::orb::gate
