#pragma once

#include <kelp/util/export.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>

namespace kelp::util {

/// What work in progress gets once the process has begun to stop: a peer that is alive answers
/// within it, and a dozen such waits one after the other stay well below the minute that a service
/// manager grants.
inline constexpr std::chrono::milliseconds kStopGrace{1000};

/// The process stops: work that takes long is to be given up within kStopGrace. Any thread; from
/// the second call on nothing.
KELP_EXPORT void beginStop();
/// The process works again, since it is started another time.
KELP_EXPORT void endStop();
/// Quick enough to be asked in a loop.
KELP_EXPORT bool isStopping();
/// True once kStopGrace has passed since beginStop().
KELP_EXPORT bool isStopGraceOver();

/// Records and traces that `what` still runs although the stop no longer waits for it. From here on
/// nothing that it may use is destroyed or unloaded, and the process ends without the destructors
/// of static objects.
KELP_EXPORT void leaveRunning(const std::string& what);
KELP_EXPORT bool isAnythingLeftRunning();

/// Waits until `isDone` holds; once the process stops, at most kStopGrace longer. False: it was
/// given up.
template <class Condition>
bool waitUnlessStopping(std::condition_variable& changed, std::unique_lock<std::mutex>& lock,
                        Condition isDone) {
    constexpr std::chrono::milliseconds kLook{50};
    std::optional<std::chrono::steady_clock::time_point> end;
    while (!isDone()) {
        const auto now = std::chrono::steady_clock::now();
        if (!end && isStopping())
            end = now + kStopGrace;
        if (end && now >= *end)
            return false;
        changed.wait_for(lock, kLook);
    }
    return true;
}

}  // namespace kelp::util
