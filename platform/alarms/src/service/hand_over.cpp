#include "service/hand_over.h"

#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <exception>
#include <string>

namespace kelp::alarms {

namespace {

using namespace std::chrono_literals;

constexpr const char* kSubject = "alarms";
/// Maximum number of events that the sink gets at a time: the channel takes some milliseconds.
constexpr std::size_t kEventsAtATime = 500;
/// The channel comes up within seconds of the start.
constexpr auto kOfferAgainAfter = 50ms;
/// How long the mark may lag behind: what a crash sends twice.
constexpr auto kSaveMarkEvery = 100ms;

}  // namespace

void HandOver::start() {
    thread_ = util::startThread("alarm events", [this] { run(); });
}

void HandOver::stop(std::chrono::milliseconds grace) {
    {
        const util::MutexLock lock(mutex_);
        isStopping_ = true;
        end_ = Clock::now() + grace;
        changed_.notify_all();
    }
    if (thread_.joinable())
        thread_.join();
}

void HandOver::setSink(EventSink* sink) {
    {
        const util::MutexLock lock(sinkMutex_);
        sink_ = sink;
    }
    const util::MutexLock lock(mutex_);
    changed_.notify_all();
}

void HandOver::add(std::vector<Event> events, Position upTo) {
    const util::MutexLock lock(mutex_);
    std::move(events.begin(), events.end(), std::back_inserter(unsent_));
    applied_ = upTo;
    if (unsent_.empty())
        handedOver_ = upTo;
    changed_.notify_all();
}

bool HandOver::waitForRoom(std::size_t unsentMax, Clock::time_point deadline) {
    const util::MutexLock lock(mutex_);
    while (unsent_.size() > unsentMax && !isUnlimited_) {
        if (Clock::now() >= deadline)
            return false;
        changed_.wait_until(mutex_, deadline);
    }
    return true;
}

void HandOver::doNotWait() {
    const util::MutexLock lock(mutex_);
    isUnlimited_ = true;
    changed_.notify_all();
}

Position HandOver::handedOver() const {
    const util::MutexLock lock(mutex_);
    return handedOver_;
}

std::uint64_t HandOver::sent() const {
    const util::MutexLock lock(mutex_);
    return sent_;
}

std::size_t HandOver::unsent() const {
    const util::MutexLock lock(mutex_);
    return unsent_.size();
}

void HandOver::run() {
    for (std::vector<Event> events = nextEvents(); !events.empty(); events = nextEvents()) {
        while (!offer(events)) {
            if (!waitForSink()) {
                saveMark();
                return;
            }
        }
        noteSent(events);
    }
    saveMark();
}

std::vector<Event> HandOver::nextEvents() {
    const util::MutexLock lock(mutex_);
    while (true) {
        const bool isMarkDue = saved_ != handedOver_ && Clock::now() >= saveAfter_;
        if (isMarkDue) {
            const util::MutexUnlock released(mutex_);
            saveMark();
        } else if (!unsent_.empty() || isStopping_) {
            break;
        } else if (saved_ != handedOver_) {
            changed_.wait_until(mutex_, saveAfter_);
        } else {
            changed_.wait(mutex_);
        }
    }
    if (isOver())
        return {};
    const auto count = static_cast<std::ptrdiff_t>(std::min(unsent_.size(), kEventsAtATime));
    return {unsent_.begin(), unsent_.begin() + count};
}

bool HandOver::offer(const std::vector<Event>& events) {
    const util::MutexLock lock(sinkMutex_);
    try {
        return sink_ != nullptr && sink_->send(events);
    } catch (...) {
        util::traceFrom(
            kSubject, "events about alarms cannot be handed over: " + util::currentExceptionText());
        return false;
    }
}

void HandOver::noteSent(const std::vector<Event>& events) {
    const util::MutexLock lock(mutex_);
    unsent_.erase(unsent_.begin(), unsent_.begin() + static_cast<std::ptrdiff_t>(events.size()));
    sent_ += events.size();
    handedOver_ = unsent_.empty() ? applied_ : events.back().position;
    changed_.notify_all();
}

bool HandOver::waitForSink() {
    const util::MutexLock lock(mutex_);
    if (isOver())
        return false;
    changed_.wait_until(mutex_, Clock::now() + kOfferAgainAfter);
    return !isOver();
}

void HandOver::saveMark() {
    Position position = 0;
    {
        const util::MutexLock lock(mutex_);
        position = handedOver_;
        if (saved_ == position)
            return;
    }
    try {
        log_.setMark(kMark, position);
    } catch (const std::exception& failure) {
        // a mark that lags behind costs nothing but events that are sent twice after a restart
        util::traceFrom(kSubject, std::string("the position of the events that were handed over "
                                              "cannot be saved: ") +
                                      failure.what());
    }
    const util::MutexLock lock(mutex_);
    saved_ = position;
    saveAfter_ = Clock::now() + kSaveMarkEvery;
}

}  // namespace kelp::alarms
