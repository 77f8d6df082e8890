#include "session/wake_point.h"

#include <ace/Guard_T.h>
#include <ace/OS_NS_time.h>
#include <ace/Time_Value.h>

#include <cerrno>

#include "util/agent_state.h"

namespace NS_KELPCORBA {

void WakePoint::signalActivity() {
    const ACE_Guard<ACE_Thread_Mutex> lock(mutex_);
    ++activity_;
    condition_.broadcast();
}

void WakePoint::wake() {
    const ACE_Guard<ACE_Thread_Mutex> lock(mutex_);
    condition_.broadcast();
}

WaitEnd WakePoint::wait(std::int64_t seconds, std::uint64_t& seen,
                        const std::function<bool()>& stillMine, const std::function<bool()>& end) {
    const ACE_Time_Value deadline(ACE_OS::time() + static_cast<time_t>(seconds));
    const ACE_Guard<ACE_Thread_Mutex> lock(mutex_);
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
        timedOut = condition_.wait(&deadline) == -1 && errno == ETIME;
    }
}

}  // namespace NS_KELPCORBA
