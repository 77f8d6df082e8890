#pragma once

#include <chrono>
#include <string>

namespace kelp::nms {

using WallTime = std::chrono::system_clock::time_point;

/// The local time of a moment, with milliseconds and the offset from UTC.
std::string timestamp(WallTime moment);
/// The same short: time of day, with the month and the day before it if wanted.
std::string shortTime(WallTime moment, bool withDay);

}  // namespace kelp::nms
