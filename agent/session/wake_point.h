#pragma once

#include <ace/Condition_Thread_Mutex.h>
#include <ace/Thread_Mutex.h>

#include <cstdint>
#include <functional>

namespace NS_KELPCORBA {

/// How a wait for a sign of life of an NMS ended.
enum class WaitEnd {
    Activity,    ///< the NMS called: its silent period starts anew
    NotWaited,   ///< the session is no longer in the state that the thread waits in
    AgentExits,  ///< the agent stops
    TimedOut     ///< silence for the whole period, and the session was ended by this wait
};

/// What a session's waiting thread sleeps on. Signals are counted under the mutex, so none is lost
/// between two waits.
class WakePoint {
  public:
    /// The NMS called.
    void signalActivity();
    /// Something else that a waiting thread must look at has changed (the change comes first, then
    /// this).
    void wake();

    /// Waits at most `seconds` of the wall clock. `stillMine` tells whether the session is in the
    /// waiter's own state; `end` moves it from there to Ended in one step. Both are called under
    /// the mutex and must not call back here. `seen` is the waiter's own count of signals, 0 at
    /// first.
    WaitEnd wait(std::int64_t seconds, std::uint64_t& seen, const std::function<bool()>& stillMine,
                 const std::function<bool()>& end);

  private:
    ACE_Thread_Mutex mutex_;
    ACE_Condition<ACE_Thread_Mutex> condition_{mutex_};
    std::uint64_t activity_ = 0;
};

}  // namespace NS_KELPCORBA
