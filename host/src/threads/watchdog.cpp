#include "threads/watchdog.h"

#include <kelp/corbabase/trace.h>
#include <kelp/util/threads.h>

#include <utility>

#include "service_manager.h"
#include "threads/stuck_threads.h"

namespace kelp::host {

namespace {

/// systemd recommends half of its time; a third leaves room for one late notification.
constexpr int kNotificationsPerPeriod = 3;

}  // namespace

Watchdog::Watchdog()
    : Watchdog(watchdogTime() / kNotificationsPerPeriod, notifyWatchdog,
               [] { return stuckThreads(); }) {}

Watchdog::Watchdog(std::chrono::microseconds period, Notify notify, Stuck stuck)
    : period_(period), notify_(std::move(notify)), stuck_(std::move(stuck)) {
    if (period_.count() > 0)
        thread_ = util::startThread("watchdog", [this] { run(); });
}

Watchdog::~Watchdog() {
    {
        const util::MutexLock lock(mutex_);
        isEnding_ = true;
    }
    ending_.notify_all();
    if (thread_.joinable())
        thread_.join();
}

void Watchdog::run() {
    do {
        round();
    } while (pause());
}

void Watchdog::round() {
    std::vector<std::string> stuck = stuck_();
    if (stuck.empty())
        notify_();
    else if (known_.empty()) {
        NS_CORBA::tracePoint("kelpd", __LINE__);
        NS_CORBA::TaTrace("the watchdog is no longer notified: %s", stuck.front().c_str());
    }
    known_ = std::move(stuck);
}

bool Watchdog::pause() {
    const auto end = std::chrono::steady_clock::now() + period_;
    const util::MutexLock lock(mutex_);
    while (!isEnding_) {
        if (ending_.wait_until(mutex_, end) == util::ConditionVariable::Status::timeout)
            return !isEnding_;
    }
    return false;
}

}  // namespace kelp::host
