#pragma once

#include <string>

namespace kelp::host {

/// Notifications to systemd, if it runs this process (Type=notify). Otherwise they do nothing.
void tellReady(const std::string& status);
void tellStopping();

}  // namespace kelp::host
