#include "service/intake_queue.h"

namespace kelp::alarms {

void IntakeQueue::push(PendingPtr pending) {
    const util::MutexLock lock(mutex_);
    while (!isClosed_ && !hasRoomFor(pending->changes.size())) {
        if (hasRoom_.wait_until(mutex_, pending->deadline) ==
                util::ConditionVariable::Status::timeout &&
            !isClosed_ && !hasRoomFor(pending->changes.size()))
            throw IntakeRefused(
                IntakeRefused::Why::Busy,
                "the EMS has more alarms to write than it can now, try again later");
    }
    if (isClosed_)
        throw IntakeRefused(IntakeRefused::Why::Stopping, "the EMS is stopping");
    add(std::move(pending));
}

bool IntakeQueue::tryPush(PendingPtr& pending) {
    const util::MutexLock lock(mutex_);
    if (isClosed_ || !hasRoomFor(pending->changes.size()))
        return false;
    add(std::move(pending));
    return true;
}

void IntakeQueue::add(PendingPtr pending) {
    changes_ += pending->changes.size();
    waiting_.push_back(std::move(pending));
    notEmpty_.notify_one();
}

std::vector<PendingPtr> IntakeQueue::take(std::size_t changesMax) {
    const util::MutexLock lock(mutex_);
    while (waiting_.empty() && !isClosed_)
        notEmpty_.wait(mutex_);
    std::vector<PendingPtr> taken;
    std::size_t changes = 0;
    while (!waiting_.empty() &&
           (taken.empty() || changes + waiting_.front()->changes.size() <= changesMax)) {
        changes += waiting_.front()->changes.size();
        taken.push_back(std::move(waiting_.front()));
        waiting_.pop_front();
    }
    changes_ -= changes;
    hasRoom_.notify_all();
    return taken;
}

void IntakeQueue::close() {
    const util::MutexLock lock(mutex_);
    isClosed_ = true;
    notEmpty_.notify_all();
    hasRoom_.notify_all();
}

std::size_t IntakeQueue::changes() const {
    const util::MutexLock lock(mutex_);
    return changes_;
}

}  // namespace kelp::alarms
