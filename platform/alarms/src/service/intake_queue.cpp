#include "service/intake_queue.h"

namespace kelp::alarms {

namespace {

std::size_t memoryIn(const Report& report) {
    return memoryOf(report.alarm);
}
std::size_t memoryIn(const AlarmId& id) {
    return sizeof id + memoryOf(id.objectName) + id.probableCause.size() +
           id.probableCauseQualifier.size();
}
std::size_t memoryIn(const Acknowledge& acknowledge) {
    return memoryIn(acknowledge.id) + acknowledge.user.size() + acknowledge.notepad.size();
}
std::size_t memoryIn(const Settle& settle) {
    return memoryIn(settle.id);
}
std::size_t memoryIn(const NetworkChange& change) {
    return memoryOf(change.objectName) + change.objectTypeQualifier.size() + change.content.size();
}

}  // namespace

std::size_t memoryOf(const Content& change) {
    return sizeof change + std::visit([](const auto& each) { return memoryIn(each); }, change);
}

void IntakeQueue::push(PendingPtr pending) {
    const util::MutexLock lock(mutex_);
    while (!isClosed_ && !hasRoomFor(*pending)) {
        if (hasRoom_.wait_until(mutex_, pending->deadline) ==
                util::ConditionVariable::Status::timeout &&
            !isClosed_ && !hasRoomFor(*pending))
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
    if (isClosed_ || !hasRoomFor(*pending))
        return false;
    add(std::move(pending));
    return true;
}

void IntakeQueue::add(PendingPtr pending) {
    amount_ = amount_ + Amount::of(*pending);
    waiting_.push_back(std::move(pending));
    notEmpty_.notify_one();
}

std::vector<PendingPtr> IntakeQueue::take(const Amount& limit) {
    const util::MutexLock lock(mutex_);
    while (waiting_.empty() && !isClosed_)
        notEmpty_.wait(mutex_);
    std::vector<PendingPtr> taken;
    Amount amount;
    while (!waiting_.empty()) {
        const Amount next = amount + Amount::of(*waiting_.front());
        if (!taken.empty() && !next.isWithin(limit))
            break;
        amount = next;
        taken.push_back(std::move(waiting_.front()));
        waiting_.pop_front();
    }
    amount_ = amount_ - amount;
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
    return amount_.changes;
}

}  // namespace kelp::alarms
