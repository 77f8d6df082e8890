#include "receiving/trap_queue.h"

#include <utility>

namespace kelp::traps {

bool TrapQueue::push(Waiting&& waiting) {
    const util::MutexLock lock(mutex_);
    if (isClosed_ || waiting_.size() >= maximum_)
        return false;
    waiting_.push_back(std::move(waiting));
    changed_.notify_one();
    return true;
}

std::vector<Waiting> TrapQueue::pop(std::size_t countMax) {
    const util::MutexLock lock(mutex_);
    while (waiting_.empty() && !isClosed_)
        changed_.wait(mutex_);
    std::vector<Waiting> popped;
    while (!waiting_.empty() && popped.size() < countMax) {
        popped.push_back(std::move(waiting_.front()));
        waiting_.pop_front();
    }
    return popped;
}

void TrapQueue::close() {
    const util::MutexLock lock(mutex_);
    isClosed_ = true;
    changed_.notify_all();
}

}  // namespace kelp::traps
