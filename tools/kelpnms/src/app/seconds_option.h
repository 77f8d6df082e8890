#pragma once

#include <CLI/CLI.hpp>

#include <chrono>
#include <optional>
#include <string>

namespace kelp::nms {

/// Maximum of every option in seconds: one day.
inline constexpr double kSecondsMax = 86400;

inline std::chrono::milliseconds milliseconds(double seconds) {
    return std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
}

/// Add an option that takes at least `least` seconds. `value` stays none if it is not given.
inline CLI::Option* addSecondsOption(CLI::App& command, const std::string& name, double least,
                                     std::optional<std::chrono::milliseconds>& value,
                                     const std::string& description) {
    return command
        .add_option_function<double>(
            name, [&value](double seconds) { value = milliseconds(seconds); }, description)
        ->check(CLI::Range(least, kSecondsMax));
}

}  // namespace kelp::nms
