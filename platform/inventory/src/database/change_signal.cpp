#include "database/change_signal.h"

namespace kelp::inventory {

ChangeSignal& ChangeSignal::instance() {
    static ChangeSignal signal;
    return signal;
}

void ChangeSignal::notify() {
    const util::MutexLock lock(mutex_);
    ++count_;
    changed_.notify_all();
}

void ChangeSignal::wakeAll() {
    const util::MutexLock lock(mutex_);
    changed_.notify_all();
}

std::uint64_t ChangeSignal::count() {
    const util::MutexLock lock(mutex_);
    return count_;
}

void ChangeSignal::waitWhile(std::uint64_t seen, const std::atomic<bool>& isStopping,
                             std::chrono::steady_clock::time_point until) {
    const util::MutexLock lock(mutex_);
    while (count_ == seen && !isStopping &&
           changed_.wait_until(mutex_, until) != util::ConditionVariable::Status::timeout) {
    }
}

}  // namespace kelp::inventory
