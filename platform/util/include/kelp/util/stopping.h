#pragma once

#include <kelp/util/export.h>
#include <kelp/util/mutex.h>

#include <chrono>
#include <optional>
#include <string>

namespace kelp::util {

/// Time that requests in progress get after the process has begun to stop. A peer that is alive
/// answers within 1 s. A dozen such waits one after the other still take much less than the minute
/// that a service manager grants.
inline constexpr std::chrono::milliseconds kStopGrace{1000};

/// Begin the stop of the process. Long operations should then end within kStopGrace. Any thread may
/// call it. Later calls have no effect.
KELP_EXPORT void beginStop();
/// Undo beginStop(), because the agent starts again in the same process.
KELP_EXPORT void endStop();
/// Return whether the process is stopping. Fast enough to be called in a loop.
KELP_EXPORT bool isStopping();
/// Return true once kStopGrace has passed since beginStop().
KELP_EXPORT bool isStopGraceOver();

/// Record and trace that `what` is still running although the stop no longer waits for it. After
/// that nothing that it may use is destroyed or unloaded, and the process ends without running the
/// destructors of static objects.
KELP_EXPORT void leaveRunning(const std::string& what);
KELP_EXPORT bool isAnythingLeftRunning();

/// Waits for a condition. Once the process stops, it waits for at most kStopGrace more. Write the
/// condition as a loop, so that clang checks the locking of the members that it reads:
///     StopAwareWait wait;
///     while (!isDone_)
///         if (!wait.next(changed_, mutex_))
///             return false;
class StopAwareWait {
  public:
    /// Wait for a change, for at most 50 ms. Returns false, without waiting, once kStopGrace has
    /// passed since a call first found the process stopping.
    bool next(ConditionVariable& changed, Mutex& mutex) KELP_REQUIRES(mutex) {
        constexpr std::chrono::milliseconds kLook{50};
        const auto now = std::chrono::steady_clock::now();
        if (!end_ && isStopping())
            end_ = now + kStopGrace;
        if (end_ && now >= *end_)
            return false;
        changed.wait_for(mutex, kLook);
        return true;
    }

  private:
    std::optional<std::chrono::steady_clock::time_point> end_;
};

}  // namespace kelp::util
