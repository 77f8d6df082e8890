#include "subscription.h"

#include <cos/CosEventComm.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/timeouts.h>

#include <algorithm>

namespace kelp::notification {

namespace {

using std::chrono::milliseconds;

/// A consumer with more events waiting keeps its thread so long before others that wait for one have theirs.
constexpr milliseconds kLongestTurn{5};

/// Nobody has this object, or it wants no events any more.
bool meansGone(const CORBA::SystemException& failure) {
    return CORBA::OBJECT_NOT_EXIST::_downcast(&failure) != nullptr ||
           CORBA::INV_OBJREF::_downcast(&failure) != nullptr;
}

/// The call may or may not have reached its object, and the same call may succeed later.
bool meansNoAnswer(const CORBA::SystemException& failure) {
    return CORBA::TIMEOUT::_downcast(&failure) != nullptr ||
           CORBA::TRANSIENT::_downcast(&failure) != nullptr ||
           CORBA::COMM_FAILURE::_downcast(&failure) != nullptr;
}

}  // namespace

Subscription::Subscription(Scheduler& scheduler, const DeliverySettings& settings, std::size_t queueLimit)
    : scheduler_(scheduler), settings_(settings), queue_(queueLimit), backOff_(settings.firstBackOff) {}

void Subscription::offer(const EventPtr& event) {
    Lock lock(mutex_);
    if (closed_ || (!receiver_ && !pulls_))
        return;
    const EventPtr gone = queue_.add(event);
    if (pulls_)
        changed_.notify_one();
    else
        scheduleIfNeeded(lock);
    if (gone)
        tellLost(lock, gone);
}

void Subscription::setQueueLimit(std::size_t limit) {
    const Lock lock(mutex_);
    queue_.setLimit(limit);
}

void Subscription::setDiscard(Discard discard) {
    const Lock lock(mutex_);
    queue_.setDiscard(discard);
}

void Subscription::setTimeout(milliseconds timeout) {
    const Lock lock(mutex_);
    timeout_ = timeout;
}

void Subscription::setPacing(milliseconds interval) {
    Lock lock(mutex_);
    pacing_ = interval;
    endPacing(lock);
}

bool Subscription::connect(std::shared_ptr<Receiver> receiver) {
    const Lock lock(mutex_);
    if (receiver_ || closed_)
        return false;
    receiver_ = std::move(receiver);
    return true;
}

bool Subscription::connectPull() {
    const Lock lock(mutex_);
    if (pulls_ || closed_)
        return false;
    pulls_ = true;
    return true;
}

bool Subscription::isConnected() const {
    const Lock lock(mutex_);
    return !closed_ && (receiver_ || pulls_);
}

Subscription::Change Subscription::suspend() {
    const Lock lock(mutex_);
    if (closed_ || !receiver_)
        return Change::NotConnected;
    if (suspended_)
        return Change::WasSo;
    suspended_ = true;
    return Change::Done;
}

Subscription::Change Subscription::resume() {
    Lock lock(mutex_);
    if (closed_ || !receiver_)
        return Change::NotConnected;
    if (!suspended_)
        return Change::WasSo;
    suspended_ = false;
    scheduleIfNeeded(lock);
    return Change::Done;
}

std::shared_ptr<Receiver> Subscription::close() {
    Lock lock(mutex_);
    if (closed_)
        return nullptr;
    closed_ = true;
    endPacing(lock);
    queue_.clear();
    changed_.notify_all();
    return std::move(receiver_);
}

std::vector<EventPtr> Subscription::pull(std::size_t most, bool wait) {
    Lock lock(mutex_);
    dropExpired(lock);
    while (wait && !closed_ && pulls_ && queue_.waiting() == 0) {
        changed_.wait(lock);
        dropExpired(lock);
    }
    if (closed_ || !pulls_)
        throw CosEventComm::Disconnected();
    std::vector<EventPtr> events = queue_.beginDelivery(most);
    queue_.settle(true);
    return events;
}

bool Subscription::hasWork() const {
    return receiver_ && !closed_ && !suspended_ && (!queue_.empty() || !answers_);
}

void Subscription::endPacing(Lock&) {
    if (state_ != State::Paced)
        return;
    state_ = State::Scheduled;
    scheduler_.sooner(*this, pacedUntil_);
}

void Subscription::scheduleIfNeeded(Lock& lock) {
    if (state_ == State::Paced && hasWork() && queue_.size() >= receiver_->batchMax())
        endPacing(lock);
    if (state_ != State::Idle || !hasWork())
        return;
    state_ = State::Scheduled;
    if (answers_)
        scheduler_.ready(shared_from_this());
    else
        scheduler_.later(shared_from_this(), Clock::now(), true);
}

void Subscription::serve() {
    Lock lock(mutex_);
    state_ = State::Serving;
    if (hasWork())
        serveLocked(lock);
    finishTurn(lock);
}

void Subscription::serveLocked(Lock& lock) {
    // the consumer may be disconnected while it is called
    const std::shared_ptr<Receiver> receiver = receiver_;
    const Clock::time_point turnEnd = Clock::now() + kLongestTurn;
    const bool wasSilent = !answers_;
    if (wasSilent && !probeFirst(lock, *receiver))
        return;
    do {
        dropExpired(lock);
        // after a silence only the event that may have arrived is sent by the thread that probed
    } while (!queue_.empty() && hasWork() && deliverBatch(lock, *receiver) && !wasSilent &&
             Clock::now() < turnEnd);
}

bool Subscription::probeFirst(Lock& lock, Receiver& receiver) {
    lock.unlock();
    try {
        {
            const kelp::orb::ScopedThreadTimeout limit(settings_.pushTimeout);
            receiver.probe();
        }
        lock.lock();
        answers_ = true;
        backOff_ = settings_.firstBackOff;
        return !closed_;
    } catch (const CORBA::SystemException& failure) {
        lock.lock();
        failed(lock, failure);
        return false;
    }
}

bool Subscription::deliverBatch(Lock& lock, Receiver& receiver) {
    const std::size_t batchMax = receiver.batchMax();
    if (pacing_ > milliseconds(0) && queue_.size() < batchMax &&
        Clock::now() < queue_.front()->taken + pacing_)
        return false;
    const std::vector<EventPtr> events = queue_.beginDelivery(batchMax);
    lock.unlock();
    try {
        {
            const kelp::orb::ScopedThreadTimeout limit(settings_.pushTimeout);
            receiver.deliver(events);
        }
        lock.lock();
        queue_.settle(true);
        return true;
    } catch (const CosEventComm::Disconnected&) {
        lock.lock();
        died(lock, "it is disconnected");
    } catch (const CORBA::SystemException& failure) {
        lock.lock();
        failed(lock, failure);
    } catch (const CORBA::Exception& failure) {
        lock.lock();
        refused(lock, kelp::orb::exceptionText(failure));
    }
    return false;
}

void Subscription::failed(Lock& lock, const CORBA::SystemException& failure) {
    const std::string why = kelp::orb::exceptionText(failure);
    if (meansGone(failure)) {
        died(lock, why);
        return;
    }
    if (!meansNoAnswer(failure)) {
        refused(lock, why);
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
        died(lock, why);
}

void Subscription::refused(Lock& lock, const std::string& why) {
    lastError_ = why;
    answers_ = true;
    EventPtr first;
    if (queue_.size() > queue_.waiting()) {
        first = queue_.front();
        queue_.settle(false);
    }
    if (first)
        tellLost(lock, first);
}

void Subscription::died(Lock& lock, const std::string& why) {
    lastError_ = why;
    queue_.putBack();
    const EventPtr first = queue_.clear();
    if (closed_)
        return;
    closed_ = true;
    receiver_.reset();
    lock.unlock();
    if (first)
        eventsLost(*first);
    consumerDied(why);
    lock.lock();
}

void Subscription::finishTurn(Lock&) {
    state_ = State::Idle;
    if (closed_)
        queue_.clear();
    if (!hasWork())
        return;
    state_ = State::Scheduled;
    if (!answers_) {
        scheduler_.later(shared_from_this(), Clock::now() + backOff_, true);
        return;
    }
    const Clock::time_point due = queue_.front()->taken + pacing_;
    if (pacing_ > milliseconds(0) && queue_.size() < receiver_->batchMax() && Clock::now() < due) {
        state_ = State::Paced;
        pacedUntil_ = due;
        scheduler_.later(shared_from_this(), due, false);
    } else
        scheduler_.ready(shared_from_this());
}

void Subscription::dropExpired(Lock& lock) {
    if (timeout_ <= milliseconds(0))
        return;
    if (const EventPtr first = queue_.expire(Clock::now() - timeout_))
        tellLost(lock, first);
}

void Subscription::tellLost(Lock& lock, const EventPtr& first) {
    lock.unlock();
    eventsLost(*first);
    lock.lock();
}

ConsumerCounts Subscription::counts() const {
    const Lock lock(mutex_);
    ConsumerCounts counts;
    counts.sent = queue_.sent();
    counts.delivered = queue_.delivered();
    counts.lost = queue_.lost();
    counts.queued = queue_.size();
    counts.queueLimit = queue_.limit();
    counts.failures = failures_;
    counts.answers = answers_;
    counts.suspended = suspended_;
    if (!queue_.empty())
        counts.oldest = std::chrono::duration_cast<milliseconds>(Clock::now() - queue_.front()->taken);
    counts.lastError = lastError_;
    return counts;
}

bool Subscription::isSettled() const {
    const Lock lock(mutex_);
    return closed_ || !answers_ || suspended_ || 2 * queue_.size() < queue_.limit();
}

}  // namespace kelp::notification
