#pragma once

#include <chrono>
#include <cstdint>
#include <string_view>

namespace kelp::bench {

/// The additional text of an alarm that the benchmark has posted: this, and the time when the
/// intake call began.
inline constexpr std::string_view kStampPrefix = "alarm_bench ";

/// Nanoseconds of a clock that all processes of the machine share.
inline std::int64_t stampNow() {
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace kelp::bench
