#include "events/follow_signals.h"

namespace kelp::nms {

void FollowSignals::interrupt() {
    const util::MutexLock lock(mutex_);
    isInterrupted_ = true;
    changed_.notify_all();
}

void FollowSignals::enough() {
    const util::MutexLock lock(mutex_);
    isEnough_ = true;
    changed_.notify_all();
}

void FollowSignals::lost(unsigned link, const LinkLoss& loss) {
    const util::MutexLock lock(mutex_);
    if (link != link_ || loss_)
        return;
    loss_ = loss;
    changed_.notify_all();
}

unsigned FollowSignals::beginLink() {
    const util::MutexLock lock(mutex_);
    loss_.reset();
    return ++link_;
}

void FollowSignals::setConnected(bool isConnected) {
    const util::MutexLock lock(mutex_);
    isConnected_ = isConnected;
}

bool FollowSignals::isConnected() {
    const util::MutexLock lock(mutex_);
    return isConnected_;
}

bool FollowSignals::isEnough() {
    const util::MutexLock lock(mutex_);
    return isEnough_;
}

bool FollowSignals::isInterrupted() {
    const util::MutexLock lock(mutex_);
    return isInterrupted_;
}

std::optional<LinkLoss> FollowSignals::loss() {
    const util::MutexLock lock(mutex_);
    return loss_;
}

void FollowSignals::waitUntil(Clock::time_point time, bool lossCounts) {
    const util::MutexLock lock(mutex_);
    while (!isEnough_ && !isInterrupted_ && !(lossCounts && loss_)) {
        if (changed_.wait_until(mutex_, time) == util::ConditionVariable::Status::timeout)
            return;
    }
}

}  // namespace kelp::nms
