#include "service_manager.h"

#include <systemd/sd-daemon.h>

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

}  // namespace kelp::host
