#pragma once

#include <chrono>
#include <string>

namespace kelp::nms {

using WallTime = std::chrono::system_clock::time_point;

/// Format a moment as local time, with milliseconds and the offset from UTC.
std::string timestamp(WallTime moment);
/// Format a moment as local time of day, with the month and the day in front if requested.
std::string shortTime(WallTime moment, bool withDay);

}  // namespace kelp::nms
