#include "events/event_handover.h"

#include <kelp/corbabase/trace.h>
#include <kelp/util/thread_work.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

namespace NS_CORBA {

namespace {

using kelp::util::MutexLock;
using kelp::util::MutexUnlock;
using Outcome = EventChannelLink::Outcome;

/// Longest wait when nothing is due. A wait until a clock's last moment would overflow.
constexpr std::chrono::hours kLongest{24};

/// Run a callback and trace its failure; the thread continues in any case.
template <class Body>
void contained(Body body) {
    try {
        body();
    } catch (const CORBA::Exception& failure) {
        tracePoint("eventhandover");
        TaException(failure, "[EventHandover] An event could not be handed over!");
    } catch (const std::exception& failure) {
        tracePoint("eventhandover");
        TaTrace("[EventHandover] An event could not be handed over: %s", failure.what());
    }
}

/// Return the moment after an interval, or never for an interval of 0.
std::chrono::steady_clock::time_point after(std::chrono::milliseconds interval) {
    using Clock = std::chrono::steady_clock;
    return interval.count() > 0 ? Clock::now() + interval : Clock::time_point::max();
}

}  // namespace

EventHandover::EventHandover(const Settings& settings, std::shared_ptr<EventChannelLink> link,
                             Work work)
    : settings_(settings),
      link_(std::move(link)),
      work_(std::move(work)),
      answers_(link_->isConnected()),
      probeDue_(Clock::now()),
      backOff_(settings.firstBackOff),
      heartbeatDue_(after(settings.heartbeatInterval)),
      tendDue_(after(settings.tendInterval)),
      thread_([this] { run(); }) {}

EventHandover::~EventHandover() {
    stop();
}

bool EventHandover::enqueue(const std::vector<StructuredEventPtr>& events) {
    std::vector<StructuredEventPtr> gone;
    {
        const MutexLock guard(mutex_);
        if (stopping_)
            return false;
        events_.insert(events_.end(), events.begin(), events.end());
        if (events_.size() > settings_.eventsMax) {
            const std::size_t excess =
                std::min(events_.size() - settings_.eventsMax, events_.size() - inHand_);
            const auto first = events_.begin() + static_cast<std::ptrdiff_t>(inHand_);
            const auto end = first + static_cast<std::ptrdiff_t>(excess);
            gone.assign(std::make_move_iterator(first), std::make_move_iterator(end));
            events_.erase(first, end);
        }
        changed_.notify_one();
    }
    if (!gone.empty())
        work_.lost(*gone.front());
    return true;
}

void EventHandover::requestHeartbeat() {
    const MutexLock guard(mutex_);
    heartbeatRequested_ = true;
    changed_.notify_one();
}

void EventHandover::requestProbe() {
    const MutexLock guard(mutex_);
    probeRequested_ = true;
    changed_.notify_one();
}

bool EventHandover::channelAnswers() const {
    const MutexLock guard(mutex_);
    return answers_;
}

bool EventHandover::isDrained() const {
    const MutexLock guard(mutex_);
    return answers_ && 2 * events_.size() < settings_.eventsMax;
}

std::size_t EventHandover::stop() {
    std::thread ending;
    {
        const MutexLock guard(mutex_);
        stopping_ = true;
        ending.swap(thread_);
        changed_.notify_one();
    }
    link_->cancel();
    if (ending.joinable())
        ending.join();
    std::deque<StructuredEventPtr> dropped;
    {
        const MutexLock guard(mutex_);
        dropped.swap(events_);
    }
    return dropped.size();
}

void EventHandover::run() {
    const MutexLock lock(mutex_);
    for (Step step = next(); step != Step::End; step = next()) {
        if (step == Step::HandOver)
            handOver();
        else if (step == Step::Probe)
            probe();
        else if (step == Step::Tend)
            tend();
        else
            askForHeartbeat();
    }
}

EventHandover::Step EventHandover::next() {
    while (!stopping_) {
        const Clock::time_point now = Clock::now();
        if (heartbeatRequested_ || now >= heartbeatDue_)
            return Step::Heartbeat;
        if (now >= tendDue_)
            return Step::Tend;
        if (answers_ && !events_.empty())
            return Step::HandOver;
        if (answers_ ? probeRequested_ : now >= probeDue_)
            return Step::Probe;
        const Clock::time_point probeDue = answers_ ? Clock::time_point::max() : probeDue_;
        changed_.wait_until(mutex_, std::min({heartbeatDue_, tendDue_, probeDue, now + kLongest}));
    }
    return Step::End;
}

void EventHandover::handOver() {
    // at most half of a full queue, because events that are being handed over cannot be dropped
    const std::size_t most =
        std::max<std::size_t>(std::min(link_->batchMax(), settings_.eventsMax / 2), 1);
    inHand_ = std::min(events_.size(), singles_ > 0 ? 1 : most);
    const std::vector<StructuredEventPtr> batch(
        events_.begin(), events_.begin() + static_cast<std::ptrdiff_t>(inHand_));
    Outcome outcome = Outcome::Refused;
    {
        const MutexUnlock unlocked(mutex_);
        const kelp::util::ThreadWork work("hands events to the channel", kelp::util::kHangsAfter);
        contained([&] { outcome = link_->handOver(batch); });
    }
    settle(batch, outcome);
}

void EventHandover::settle(const std::vector<StructuredEventPtr>& batch, Outcome outcome) {
    if (outcome == Outcome::Unanswered) {
        inHand_ = 0;
        singles_ = std::max<std::size_t>(singles_, 1);
        backOff();
        return;
    }
    // the channel answered, whatever the answer is
    probeRequested_ = false;
    backOff_ = settings_.firstBackOff;
    if (outcome == Outcome::Refused && batch.size() > 1) {
        inHand_ = 0;
        singles_ = batch.size();
        return;
    }
    forgetInHand();
    if (outcome == Outcome::Accepted)
        return;
    const MutexUnlock unlocked(mutex_);
    contained([&] { work_.lost(*batch.front()); });
}

void EventHandover::forgetInHand() {
    events_.erase(events_.begin(), events_.begin() + static_cast<std::ptrdiff_t>(inHand_));
    singles_ -= std::min(singles_, inHand_);
    inHand_ = 0;
}

void EventHandover::probe() {
    probeRequested_ = false;
    bool answers = false;
    {
        const MutexUnlock unlocked(mutex_);
        contained([&] { answers = link_->probe(); });
    }
    if (!answers) {
        backOff();
        return;
    }
    answers_ = true;
    // keep the pauses of a channel that answers probes but accepts no events
    if (events_.empty())
        backOff_ = settings_.firstBackOff;
}

void EventHandover::backOff() {
    answers_ = false;
    probeDue_ = Clock::now() + backOff_;
    backOff_ = std::min(backOff_ * 2, settings_.longestBackOff);
}

void EventHandover::askForHeartbeat() {
    heartbeatRequested_ = false;
    const Clock::time_point now = Clock::now();
    if (now >= heartbeatDue_)
        heartbeatDue_ = now + settings_.heartbeatInterval;
    const MutexUnlock unlocked(mutex_);
    contained([&] { work_.heartbeat(); });
}

void EventHandover::tend() {
    tendDue_ = after(settings_.tendInterval);
    const MutexUnlock unlocked(mutex_);
    contained([&] { link_->tend(); });
}

}  // namespace NS_CORBA
