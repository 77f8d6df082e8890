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

/// Maximum time for which a consumer with more events keeps its delivery thread while others wait
/// for one.
constexpr milliseconds kLongestTurn{5};

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
    explicit Puller(Subscription& subscription) : subscription_(subscription) {
        ++subscription_.pullers_;
    }
    ~Puller() {
        --subscription_.pullers_;
        subscription_.silentSince_ = Clock::now();
    }
    Puller(const Puller&) = delete;
    Puller& operator=(const Puller&) = delete;

  private:
    Subscription& subscription_;
};

void Subscription::offer(const EventPtr& event) {
    Lock lock(mutex_);
    if (closed_ || (!receiver_ && !pulls_))
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
        scheduleIfNeeded(lock);
    if (gone && !isOwnChoice)
        tellLost(lock, gone);
}

void Subscription::lose(const EventPtr& event, bool isOwn) {
    Lock lock(mutex_);
    if (closed_)
        return;
    queue_.countLost(isOwn);
    if (!isOwn)
        tellLost(lock, event);
}

void Subscription::setQueueLimit(std::size_t limit, bool isOwn) {
    const Lock lock(mutex_);
    queue_.setLimit(limit, isOwn);
}

void Subscription::setRules(const QueueRules& rules) {
    const Lock lock(mutex_);
    queue_.setRules(rules);
}

void Subscription::setPacing(milliseconds interval) {
    Lock lock(mutex_);
    pacing_ = interval;
    endPacing(lock);
    changed_.notify_all();
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
    silentSince_ = Clock::now();
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
    // nobody has called it during the suspension, so its silence does not count
    silentSince_ = Clock::now();
    backOff_ = settings_.firstBackOff;
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
    const Puller puller(*this);
    queue_.expire(Clock::now());
    while (wait && !closed_ && pulls_ && !isBatchDue(most)) {
        if (queue_.waiting() == 0)
            changed_.wait(lock);
        else
            changed_.wait_until(lock, queue_.oldestTaken() + pacing_);
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
           Clock::now() >= queue_.oldestTaken() + pacing_;
}

bool Subscription::hasWork() const {
    return receiver_ && !closed_ && !suspended_ && (!queue_.empty() || !answers_);
}

void Subscription::endPacing(Lock&) {
    if (state_ != State::Paced)
        return;
    try {
        scheduler_.sooner(*this, pacedUntil_);
        state_ = State::Scheduled;
    } catch (const std::bad_alloc&) {
        // the turn stays scheduled for pacedUntil_
    }
}

/// Enter state `next` and schedule the turn. If there is no memory the state becomes idle until
/// tend() or the next event.
template <class Act>
void Subscription::schedule(State next, Act act) {
    state_ = next;
    try {
        act();
    } catch (const std::exception&) {
        state_ = State::Idle;
    }
}

void Subscription::scheduleIfNeeded(Lock& lock) {
    if (state_ == State::Paced && hasWork() && queue_.size() >= receiver_->batchMax())
        endPacing(lock);
    if (state_ != State::Idle || !hasWork())
        return;
    schedule(State::Scheduled, [this] {
        if (answers_)
            scheduler_.ready(shared_from_this());
        else
            scheduler_.later(shared_from_this(), Clock::now(), true);
    });
}

void Subscription::serve() noexcept {
    Lock lock(mutex_);
    state_ = State::Serving;
    bool wasCutShort = false;
    try {
        if (hasWork())
            serveLocked(lock);
    } catch (...) {
        // no memory for the call or for handling its failure: the events being delivered wait again
        if (!lock.owns_lock())
            lock.lock();
        queue_.putBack();
        ++failures_;
        wasCutShort = true;
        traceCutShort();
    }
    finishTurn(lock, wasCutShort);
}

void Subscription::tend(Clock::time_point now) {
    Lock lock(mutex_);
    if (isDeathUntold_)
        tellDeath(lock);
    if (closed_)
        return;
    queue_.expire(now);
    if (hasNotPulledFor(settings_.deadAfter, now))
        died(lock, "it has stopped pulling");
    else
        scheduleIfNeeded(lock);
}

bool Subscription::hasNotPulledFor(milliseconds time, Clock::time_point now) const {
    return pulls_ && pullers_ == 0 && !queue_.empty() && now - silentSince_ >= time;
}

void Subscription::serveLocked(Lock& lock) {
    // close() may release receiver_ during the call
    const std::shared_ptr<Receiver> receiver = receiver_;
    const Clock::time_point turnEnd = Clock::now() + kLongestTurn;
    const bool wasSilent = !answers_;
    if (wasSilent && !probeFirst(lock, *receiver))
        return;
    do {
        queue_.expire(Clock::now());
        // after a silence this thread sends only the first batch, which may have arrived already
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
    if (!isBatchDue(batchMax))
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
    isDeathUntold_ = true;
    receiver_.reset();
    changed_.notify_all();
    if (first)
        tellLost(lock, first);
    tellDeath(lock);
}

void Subscription::tellDeath(Lock& lock) {
    const std::string why = lastError_;
    isDeathUntold_ = false;
    lock.unlock();
    try {
        consumerDied(why);
        lock.lock();
    } catch (...) {
        lock.lock();
        isDeathUntold_ = true;
        throw;
    }
}

void Subscription::finishTurn(Lock&, bool wasCutShort) {
    state_ = State::Idle;
    if (closed_)
        queue_.clear();
    if (!hasWork())
        return;
    if (!answers_ || wasCutShort) {
        schedule(State::Scheduled, [this] {
            scheduler_.later(shared_from_this(), Clock::now() + backOff_, !answers_);
        });
    } else if (isBatchDue(receiver_->batchMax())) {
        schedule(State::Scheduled, [this] { scheduler_.ready(shared_from_this()); });
    } else {
        pacedUntil_ = queue_.oldestTaken() + pacing_;
        schedule(State::Paced,
                 [this] { scheduler_.later(shared_from_this(), pacedUntil_, false); });
    }
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
    counts.lostByOwnLimits = queue_.lostByChoice();
    counts.queued = queue_.size();
    counts.queueLimit = queue_.limit();
    counts.failures = failures_;
    counts.answers = answers_ && !hasNotPulledFor(settings_.pushTimeout, Clock::now());
    counts.suspended = suspended_;
    if (!queue_.empty())
        counts.oldest =
            std::chrono::duration_cast<milliseconds>(Clock::now() - queue_.oldestTaken());
    counts.lastError = lastError_;
    return counts;
}

bool Subscription::isClosed() const {
    const Lock lock(mutex_);
    return closed_;
}

bool Subscription::isSettled() const {
    const Lock lock(mutex_);
    return closed_ || !answers_ || suspended_ ||
           hasNotPulledFor(settings_.pushTimeout, Clock::now()) ||
           2 * queue_.size() < queue_.limit();
}

}  // namespace kelp::notification
