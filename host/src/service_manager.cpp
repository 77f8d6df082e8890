#include "service_manager.h"

#include <systemd/sd-daemon.h>

namespace kelp::host {

void tellReady(const std::string& status) {
    ::sd_notifyf(0, "READY=1\nSTATUS=%s", status.c_str());
}

void tellStopping() {
    ::sd_notify(0, "STOPPING=1");
}

}  // namespace kelp::host
