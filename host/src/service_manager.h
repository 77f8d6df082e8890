#pragma once

#include <chrono>
#include <string>

namespace kelp::host {

/// Notifications to systemd, if it runs this process (Type=notify). Otherwise they do nothing.
void tellReady(const std::string& status);
/// Ask systemd to wait for another notification for `patience`, with the reason.
void tellNotReady(const std::string& status, std::chrono::microseconds patience);
void tellStopping();
/// The time after which systemd's watchdog ends this process unless it is notified; 0: it does not
/// watch the process.
std::chrono::microseconds watchdogTime();
void notifyWatchdog();

}  // namespace kelp::host
