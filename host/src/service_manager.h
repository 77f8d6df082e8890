#pragma once

#include <chrono>
#include <string>

namespace kelp::host {

/// Notifications to systemd, if it runs this process (Type=notify). Otherwise they do nothing.
void tellReady(const std::string& status);
/// Ask systemd to wait for another notification for `patience`, with the reason.
void tellNotReady(const std::string& status, std::chrono::microseconds patience);
void tellStopping();

}  // namespace kelp::host
