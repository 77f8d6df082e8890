#pragma once

#include <string>

namespace kelp::host {

/// What systemd is told when it runs this process (Type=notify); nothing otherwise.
void tellReady(const std::string& status);
void tellStopping();

}  // namespace kelp::host
