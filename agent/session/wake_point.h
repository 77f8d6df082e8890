#pragma once

#include <kelp/util/mutex.h>

#include <cstdint>
#include <functional>

namespace NS_KELPCORBA {

/// How a wait for a sign of life of an NMS ended.
enum class WaitEnd {
    Activity,    ///< the NMS called: its silent time starts again
    NotWaited,   ///< the session has left the state that the thread waits in
    AgentExits,  ///< the agent stops
    TimedOut     ///< no call for the whole time, and this wait ended the session
};

/// The condition on which the waiting thread of a session sleeps. Signals are counted under the
/// mutex, so none is lost between two waits.
class WakePoint {
  public:
    /// Signal a call of the NMS.
    void signalActivity() KELP_EXCLUDES(mutex_);
    /// Make a waiting thread check its conditions again. Called after the change that it must see.
    void wake() KELP_EXCLUDES(mutex_);

    /// Wait at most `seconds` of the wall clock. `stillMine` returns whether the session is still
    /// in the state that the caller waits in. `end` changes it from there to Ended in one step.
    /// Both are called under the mutex and must not call this object. `seen` is the caller's count
    /// of signals and starts at 0.
    WaitEnd wait(std::int64_t seconds, std::uint64_t& seen, const std::function<bool()>& stillMine,
                 const std::function<bool()>& end) KELP_EXCLUDES(mutex_);

  private:
    kelp::util::Mutex mutex_{kelp::util::LockRank::SessionWake, "WakePoint::mutex_"};
    kelp::util::ConditionVariable condition_;
    std::uint64_t activity_ KELP_GUARDED_BY(mutex_) = 0;
};

}  // namespace NS_KELPCORBA
