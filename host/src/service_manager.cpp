#include "service_manager.h"

#include <systemd/sd-daemon.h>

#include <cstdint>

namespace kelp::host {

void tellReady(const std::string& status) {
    ::sd_notifyf(0, "READY=1\nSTATUS=%s", status.c_str());
}

void tellNotReady(const std::string& status, std::chrono::microseconds patience) {
    ::sd_notifyf(0, "EXTEND_TIMEOUT_USEC=%lld\nSTATUS=%s", static_cast<long long>(patience.count()),
                 status.c_str());
}

void tellStopping() {
    ::sd_notify(0, "STOPPING=1");
}

std::chrono::microseconds watchdogTime() {
    std::uint64_t microseconds = 0;
    return std::chrono::microseconds(
        ::sd_watchdog_enabled(0, &microseconds) > 0 ? static_cast<std::int64_t>(microseconds) : 0);
}

void notifyWatchdog() {
    ::sd_notify(0, "WATCHDOG=1");
}

}  // namespace kelp::host
