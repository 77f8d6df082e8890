#include <kelp/util/stopping.h>
#include <kelp/util/trace_log.h>

#include <atomic>
#include <cstdint>

namespace kelp::util {

namespace {

using Clock = std::chrono::steady_clock;

/// The time when the stop began, on the monotonic clock; 0 if it has not begun.
std::atomic<Clock::rep> began{0};
std::atomic<bool> isLeft{false};

}  // namespace

void beginStop() {
    Clock::rep none = 0;
    began.compare_exchange_strong(none, Clock::now().time_since_epoch().count());
}

void endStop() {
    began = 0;
}

bool isStopping() {
    return began.load(std::memory_order_relaxed) != 0;
}

bool isStopGraceOver() {
    const Clock::rep since = began.load();
    return since != 0 && Clock::now() >= Clock::time_point(Clock::duration(since)) + kStopGrace;
}

void leaveRunning(const std::string& what) {
    isLeft = true;
    traceFrom("stopping", what + " still runs; the stop goes on without it");
}

bool isAnythingLeftRunning() {
    return isLeft;
}

}  // namespace kelp::util
