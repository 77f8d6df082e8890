#include "session/event_loss_state.h"

namespace NS_KELPCORBA {

using kelp::util::MutexLock;

void EventLossState::setOccurred(const std::string& startTime, const std::string& notificationId) {
    const MutexLock lock(mutex_);
    last_ = {false, startTime, notificationId};
}

void EventLossState::setCleared(const std::string& endTime) {
    const MutexLock lock(mutex_);
    last_.isCleared = true;
    last_.time = endTime;
}

EventLoss EventLossState::current() const {
    const MutexLock lock(mutex_);
    return last_;
}

}  // namespace NS_KELPCORBA
