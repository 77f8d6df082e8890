#include "events/follow_signals.h"

namespace kelp::nms {

void FollowSignals::interrupt() {
    const std::lock_guard lock(mutex_);
    isInterrupted_ = true;
    changed_.notify_all();
}

void FollowSignals::enough() {
    const std::lock_guard lock(mutex_);
    isEnough_ = true;
    changed_.notify_all();
}

void FollowSignals::lost(unsigned link, const LinkLoss& loss) {
    const std::lock_guard lock(mutex_);
    if (link != link_ || loss_)
        return;
    loss_ = loss;
    changed_.notify_all();
}

unsigned FollowSignals::beginLink() {
    const std::lock_guard lock(mutex_);
    loss_.reset();
    return ++link_;
}

void FollowSignals::setConnected(bool isConnected) {
    const std::lock_guard lock(mutex_);
    isConnected_ = isConnected;
}

bool FollowSignals::isConnected() {
    const std::lock_guard lock(mutex_);
    return isConnected_;
}

bool FollowSignals::isEnough() {
    const std::lock_guard lock(mutex_);
    return isEnough_;
}

bool FollowSignals::isInterrupted() {
    const std::lock_guard lock(mutex_);
    return isInterrupted_;
}

std::optional<LinkLoss> FollowSignals::loss() {
    const std::lock_guard lock(mutex_);
    return loss_;
}

void FollowSignals::waitUntil(Clock::time_point time, bool lossCounts) {
    std::unique_lock lock(mutex_);
    changed_.wait_until(lock, time, [&] {
        return isEnough_ || isInterrupted_ || (lossCounts && loss_.has_value());
    });
}

}  // namespace kelp::nms
