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
    ending_.raise();
    if (thread_.joinable())
        thread_.join();
}

void Watchdog::run() {
    do {
        round();
    } while (ending_.pause(period_));
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

}  // namespace kelp::host
