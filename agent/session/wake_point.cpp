#include "session/wake_point.h"

#include <chrono>
#include <ctime>

#include "util/agent_state.h"

namespace NS_KELPCORBA {

using kelp::util::ConditionVariable;
using kelp::util::MutexLock;

void WakePoint::signalActivity() {
    const MutexLock lock(mutex_);
    ++activity_;
    condition_.notify_all();
}

void WakePoint::wake() {
    const MutexLock lock(mutex_);
    condition_.notify_all();
}

WaitEnd WakePoint::wait(std::int64_t seconds, std::uint64_t& seen,
                        const std::function<bool()>& stillMine, const std::function<bool()>& end) {
    const auto deadline =
        std::chrono::system_clock::from_time_t(std::time(nullptr)) + std::chrono::seconds(seconds);
    const MutexLock lock(mutex_);
    bool timedOut = false;
    for (;;) {
        if (AgentState::instance().exitRequested)
            return WaitEnd::AgentExits;
        if (activity_ != seen) {
            seen = activity_;
            return WaitEnd::Activity;
        }
        if (!stillMine())
            return WaitEnd::NotWaited;
        if (timedOut)
            return end() ? WaitEnd::TimedOut : WaitEnd::NotWaited;
        timedOut = condition_.wait_until(mutex_, deadline) == ConditionVariable::Status::timeout;
    }
}

}  // namespace NS_KELPCORBA
