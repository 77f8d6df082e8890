#include "delivery/subscription.h"

#include <cos/CosEventComm.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/timeouts.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <new>

namespace kelp::notification {

namespace {

using std::chrono::milliseconds;
using util::MutexLock;
using util::MutexUnlock;

/// Maximum time for which a consumer with more events keeps its delivery thread while others wait
/// for one.
constexpr milliseconds kLongestTurn{5};
/// Maximum number of turns that a thread that waits makes, before one without waiting is tried
/// again.
constexpr int kWaitingTurnsMax = 64;
/// Share of the last call in the averages of its duration and its events.
constexpr double kLastCallShare = 1.0 / 16;

/// The object does not exist.
bool meansGone(const CORBA::SystemException& failure) {
    return CORBA::OBJECT_NOT_EXIST::_downcast(&failure) != nullptr ||
           CORBA::INV_OBJREF::_downcast(&failure) != nullptr;
}

void traceCutShort() noexcept {
    try {
        kelp::util::traceFrom("notification", "a delivery was cut short and is made again",
                              kelp::util::TraceKind::Exception);
    } catch (const std::exception&) {
        // no memory for the trace either
    }
}

/// The call may or may not have reached the object, and a retry may succeed.
bool meansNoAnswer(const CORBA::SystemException& failure) {
    return CORBA::TIMEOUT::_downcast(&failure) != nullptr ||
           CORBA::TRANSIENT::_downcast(&failure) != nullptr ||
           CORBA::COMM_FAILURE::_downcast(&failure) != nullptr;
}

}  // namespace

Subscription::Subscription(Scheduler& scheduler, const DeliverySettings& settings,
                           std::size_t queueLimit)
    : scheduler_(scheduler),
      settings_(settings),
      queue_(queueLimit),
      backOff_(settings.firstBackOff) {}

/// A pull in progress. Meanwhile its consumer does not count as silent. Used under the
/// subscription's lock.
class Subscription::Puller {
  public:
    explicit Puller(Subscription& subscription) KELP_REQUIRES(subscription.mutex_)
        : subscription_(subscription) {
        ++subscription_.pullers_;
    }
    /// Not checked: the subscription's lock is still held, but under another name.
    ~Puller() KELP_NOT_CHECKED {
        --subscription_.pullers_;
        subscription_.silentSince_ = Clock::now();
    }
    Puller(const Puller&) = delete;
    Puller& operator=(const Puller&) = delete;

  private:
    Subscription& subscription_;
};

void Subscription::enqueue(const EventPtr& event) {
    const MutexLock lock(mutex_);
    if (closed_ || (!consumer_ && !pulls_))
        return;
    if (pulls_ && queue_.empty())
        silentSince_ = Clock::now();
    EventPtr gone;
    bool isOwnChoice = queue_.hasOwnLimit();
    try {
        gone = queue_.add(event);
    } catch (const std::bad_alloc&) {
        queue_.countLost();
        gone = event;
        isOwnChoice = false;
    }
    if (pulls_)
        changed_.notify_all();
    else
        scheduleIfNeeded();
    if (gone && !isOwnChoice)
        tellLost(gone);
}

void Subscription::lose(const EventPtr& event, bool isOwn) {
    const MutexLock lock(mutex_);
    if (closed_)
        return;
    queue_.countLost(isOwn);
    if (!isOwn)
        tellLost(event);
}

void Subscription::setQueueLimit(std::size_t limit, bool isOwn) {
    const MutexLock lock(mutex_);
    queue_.setLimit(limit, isOwn);
}

void Subscription::setRules(const QueueRules& rules) {
    const MutexLock lock(mutex_);
    queue_.setRules(rules);
}

void Subscription::setPacing(milliseconds interval) {
    const MutexLock lock(mutex_);
    pacing_ = interval;
    endPacing();
    changed_.notify_all();
}

bool Subscription::connect(std::shared_ptr<ConnectedConsumer> consumer) {
    const MutexLock lock(mutex_);
    if (consumer_ || closed_)
        return false;
    consumer_ = std::move(consumer);
    return true;
}

bool Subscription::connectPull() {
    const MutexLock lock(mutex_);
    if (pulls_ || closed_)
        return false;
    pulls_ = true;
    silentSince_ = Clock::now();
    return true;
}

bool Subscription::isConnected() const {
    const MutexLock lock(mutex_);
    return !closed_ && (consumer_ || pulls_);
}

Subscription::Change Subscription::suspend() {
    const MutexLock lock(mutex_);
    if (closed_ || !consumer_)
        return Change::NotConnected;
    if (suspended_)
        return Change::WasSo;
    suspended_ = true;
    return Change::Done;
}

Subscription::Change Subscription::resume() {
    const MutexLock lock(mutex_);
    if (closed_ || !consumer_)
        return Change::NotConnected;
    if (!suspended_)
        return Change::WasSo;
    suspended_ = false;
    // nobody has called it during the suspension, so its silence does not count
    silentSince_ = Clock::now();
    backOff_ = settings_.firstBackOff;
    scheduleIfNeeded();
    return Change::Done;
}

std::shared_ptr<ConnectedConsumer> Subscription::close() {
    const MutexLock lock(mutex_);
    if (closed_)
        return nullptr;
    closed_ = true;
    endPacing();
    queue_.clear();
    changed_.notify_all();
    return std::move(consumer_);
}

std::vector<EventPtr> Subscription::pull(std::size_t most, bool wait) {
    const MutexLock lock(mutex_);
    const Puller puller(*this);
    queue_.expire(Clock::now());
    while (wait && !closed_ && pulls_ && !isBatchDue(most)) {
        if (queue_.waiting() == 0)
            changed_.wait(mutex_);
        else
            changed_.wait_until(mutex_, queue_.oldestAccepted() + pacing_);
        queue_.expire(Clock::now());
    }
    if (closed_ || !pulls_)
        throw CosEventComm::Disconnected();
    if (!isBatchDue(most))
        return {};
    std::vector<EventPtr> events = queue_.beginDelivery(most);
    queue_.settle(true);
    return events;
}

bool Subscription::isBatchDue(std::size_t most) const {
    if (queue_.waiting() == 0)
        return false;
    return pacing_ <= milliseconds(0) || queue_.waiting() >= most ||
           Clock::now() >= queue_.oldestAccepted() + pacing_;
}

bool Subscription::hasWork() const {
    return consumer_ && !closed_ && !suspended_ && (!queue_.empty() || !answers_);
}

void Subscription::endPacing() {
    if (state_ != State::Paced)
        return;
    try {
        scheduler_.sooner(*this, pacedUntil_);
        state_ = State::Scheduled;
    } catch (const std::bad_alloc&) {
        // the turn stays scheduled for pacedUntil_
    }
}

void Subscription::scheduleNow() {
    state_ = State::Scheduled;
    try {
        if (isSent())
            scheduler_.readyToSend(shared_from_this());
        else
            scheduler_.ready(shared_from_this());
    } catch (const std::exception&) {
        state_ = State::Idle;
    }
}

void Subscription::scheduleLater(State next, Clock::time_point when, bool isSlow) {
    state_ = next;
    try {
        if (!isSlow && isSent())
            scheduler_.laterToSend(shared_from_this(), when);
        else
            scheduler_.later(shared_from_this(), when, isSlow);
    } catch (const std::exception&) {
        state_ = State::Idle;
    }
}

void Subscription::scheduleIfNeeded() {
    if (state_ == State::Paced && hasWork() && queue_.size() >= consumer_->batchMax())
        endPacing();
    if (state_ != State::Idle || !hasWork())
        return;
    if (answers_)
        scheduleNow();
    else
        scheduleLater(State::Scheduled, Clock::now(), true);
}

void Subscription::serve() noexcept {
    const MutexLock lock(mutex_);
    state_ = State::Serving;
    waitingTurns_ = std::max(waitingTurns_ - 1, 0);
    bool wasCutShort = false;
    try {
        if (hasWork())
            serveLocked();
    } catch (...) {
        noteCutShort();
        wasCutShort = true;
    }
    finishTurn(wasCutShort);
}

void Subscription::send(kelp::orb::AwaitedPushes& pushes) noexcept {
    const MutexLock lock(mutex_);
    state_ = State::Serving;
    bool wasCutShort = false;
    try {
        if (hasWork() && answers_ && sendBatch(pushes))
            return;
    } catch (...) {
        noteCutShort();
        wasCutShort = true;
    }
    finishTurn(wasCutShort);
}

void Subscription::ended(kelp::orb::EndedPush& push) noexcept {
    const MutexLock lock(mutex_);
    bool wasCutShort = false;
    try {
        const std::size_t events = queue_.size() - queue_.waiting();
        const bool isAccepted =
            makeCall([&] { return push.end() == kelp::orb::EndedPush::End::Accepted; });
        if (isAccepted) {
            queue_.settle(true);
            nextWaitingTurns_ = 1;
            noteCall(Clock::now() - sentAt_, events);
            if (hasWork() && scheduler_.mayContinue() && sendBatch(*sentWith_))
                return;
        } else if (queue_.size() > queue_.waiting()) {
            waitForTurns();
        }
    } catch (...) {
        noteCutShort();
        wasCutShort = true;
    }
    finishTurn(wasCutShort);
}

void Subscription::wasNotScheduled() {
    const MutexLock lock(mutex_);
    if (state_ == State::Scheduled)
        state_ = State::Idle;
}

/// No memory for the call or for handling its failure: the events being delivered wait again.
void Subscription::noteCutShort() {
    queue_.putBack();
    ++failures_;
    traceCutShort();
}

void Subscription::tend(Clock::time_point now) {
    const MutexLock lock(mutex_);
    if (isDeathUntold_)
        tellDeath();
    if (closed_)
        return;
    queue_.expire(now);
    if (hasNotPulledFor(settings_.deadAfter, now))
        died("it has stopped pulling");
    else
        scheduleIfNeeded();
}

bool Subscription::hasNotPulledFor(milliseconds time, Clock::time_point now) const {
    return pulls_ && pullers_ == 0 && !queue_.empty() && now - silentSince_ >= time;
}

void Subscription::serveLocked() {
    // close() may release consumer_ during the call
    const std::shared_ptr<ConnectedConsumer> consumer = consumer_;
    const Clock::time_point turnEnd = Clock::now() + kLongestTurn;
    const bool wasSilent = !answers_;
    if (wasSilent && !probeFirst(*consumer))
        return;
    do {
        queue_.expire(Clock::now());
        // after a silence this thread sends only the first batch, which may have arrived already
    } while (!queue_.empty() && hasWork() && deliverBatch(*consumer) && !wasSilent &&
             Clock::now() < turnEnd);
}

bool Subscription::probeFirst(ConnectedConsumer& consumer) {
    try {
        {
            const MutexUnlock unlocked(mutex_);
            const kelp::orb::ScopedThreadTimeout limit(settings_.pushTimeout);
            consumer.probe();
        }
        answers_ = true;
        backOff_ = settings_.firstBackOff;
        return !closed_;
    } catch (const CORBA::SystemException& failure) {
        failed(failure);
        return false;
    }
}

bool Subscription::deliverBatch(ConnectedConsumer& consumer) {
    const std::size_t batchMax = consumer.batchMax();
    if (!isBatchDue(batchMax))
        return false;
    const std::vector<EventPtr> events = queue_.beginDelivery(batchMax);
    const Clock::time_point begun = Clock::now();
    const bool isDelivered = makeCall([&] {
        const kelp::orb::ScopedThreadTimeout limit(settings_.pushTimeout);
        consumer.deliver(events);
        return true;
    });
    if (isDelivered) {
        queue_.settle(true);
        noteCall(Clock::now() - begun, events.size());
    }
    return isDelivered;
}

bool Subscription::sendBatch(kelp::orb::AwaitedPushes& pushes) {
    // close() may release consumer_ during the call
    const std::shared_ptr<ConnectedConsumer> consumer = consumer_;
    sentWith_ = &pushes;
    sentAt_ = Clock::now();
    queue_.expire(sentAt_);
    const std::size_t batchMax = consumer->batchMax();
    if (!isBatchDue(batchMax))
        return false;
    const std::vector<EventPtr> events = queue_.beginDelivery(batchMax);
    bool isSentNow = false;
    makeCall([&] {
        isSentNow = consumer->send(events, pushes, settings_.pushTimeout, shared_from_this());
        return true;
    });
    if (!isSentNow && queue_.size() > queue_.waiting())
        waitForTurns();
    return isSentNow;
}

/// The batch has to be delivered by a thread that waits. A consumer that can never be served in
/// another way, such as one with an encrypted connection, is tried ever more rarely.
void Subscription::waitForTurns() {
    queue_.putBack();
    waitingTurns_ = nextWaitingTurns_;
    nextWaitingTurns_ = std::min(2 * nextWaitingTurns_, kWaitingTurnsMax);
}

template <class Call>
bool Subscription::makeCall(const Call& call) {
    try {
        const MutexUnlock unlocked(mutex_);
        return call();
    } catch (const CosEventComm::Disconnected&) {
        died("it is disconnected");
    } catch (const CORBA::SystemException& failure) {
        failed(failure);
    } catch (const CORBA::Exception& failure) {
        refused(kelp::orb::exceptionText(failure));
    }
    return false;
}

void Subscription::failed(const CORBA::SystemException& failure) {
    const std::string why = kelp::orb::exceptionText(failure);
    if (meansGone(failure)) {
        died(why);
        return;
    }
    if (!meansNoAnswer(failure)) {
        refused(why);
        return;
    }
    ++failures_;
    lastError_ = why;
    queue_.putBack();
    if (closed_) {
        queue_.clear();
        return;
    }
    const Clock::time_point now = Clock::now();
    if (answers_) {
        answers_ = false;
        silentSince_ = now;
    } else {
        backOff_ = std::min(backOff_ * 2, settings_.longestBackOff);
    }
    if (now - silentSince_ >= settings_.deadAfter)
        died(why);
}

void Subscription::refused(const std::string& why) {
    lastError_ = why;
    answers_ = true;
    EventPtr first;
    if (queue_.size() > queue_.waiting()) {
        first = queue_.front();
        queue_.settle(false);
    }
    if (first)
        tellLost(first);
}

void Subscription::died(const std::string& why) {
    lastError_ = why;
    queue_.putBack();
    const EventPtr first = queue_.clear();
    if (closed_)
        return;
    closed_ = true;
    isDeathUntold_ = true;
    consumer_.reset();
    changed_.notify_all();
    if (first)
        tellLost(first);
    tellDeath();
}

void Subscription::tellDeath() {
    const std::string why = lastError_;
    isDeathUntold_ = false;
    try {
        const MutexUnlock unlocked(mutex_);
        consumerDied(why);
    } catch (...) {
        isDeathUntold_ = true;
        throw;
    }
}

void Subscription::finishTurn(bool wasCutShort) {
    state_ = State::Idle;
    if (closed_)
        queue_.clear();
    if (!hasWork())
        return;
    if (!answers_ || wasCutShort) {
        scheduleLater(State::Scheduled, Clock::now() + backOff_, !answers_);
    } else if (isBatchDue(consumer_->batchMax())) {
        scheduleNow();
    } else {
        pacedUntil_ = queue_.oldestAccepted() + pacing_;
        scheduleLater(State::Paced, pacedUntil_, false);
    }
}

void Subscription::noteCall(Clock::duration duration, std::size_t events) {
    using Microseconds = std::chrono::duration<double, std::micro>;
    const double microseconds = std::chrono::duration_cast<Microseconds>(duration).count();
    const double share = pushCalls_ == 0 ? 1 : kLastCallShare;
    callMicroseconds_ += share * (microseconds - callMicroseconds_);
    eventsPerCall_ += share * (static_cast<double>(events) - eventsPerCall_);
    ++pushCalls_;
}

void Subscription::tellLost(const EventPtr& first) {
    const MutexUnlock unlocked(mutex_);
    eventsLost(*first);
}

ConsumerCounts Subscription::counts() const {
    const MutexLock lock(mutex_);
    ConsumerCounts counts;
    counts.sent = queue_.sent();
    counts.delivered = queue_.delivered();
    counts.lost = queue_.lost();
    counts.lostByOwnLimits = queue_.lostByChoice();
    counts.queued = queue_.size();
    counts.queueLimit = queue_.limit();
    counts.failures = failures_;
    counts.answers = answers_ && !hasNotPulledFor(settings_.pushTimeout, Clock::now());
    counts.suspended = suspended_;
    if (!queue_.empty())
        counts.oldest =
            std::chrono::duration_cast<milliseconds>(Clock::now() - queue_.oldestAccepted());
    counts.lastError = lastError_;
    counts.batchMax = consumer_ ? consumer_->batchMax() : 0;
    counts.pushCalls = pushCalls_;
    counts.callDuration = std::chrono::microseconds(static_cast<std::int64_t>(callMicroseconds_));
    counts.eventsPerCall = eventsPerCall_;
    return counts;
}

bool Subscription::isClosed() const {
    const MutexLock lock(mutex_);
    return closed_;
}

bool Subscription::isSettled() const {
    const MutexLock lock(mutex_);
    return closed_ || !answers_ || suspended_ ||
           hasNotPulledFor(settings_.pushTimeout, Clock::now()) ||
           2 * queue_.size() < queue_.limit();
}

}  // namespace kelp::notification
