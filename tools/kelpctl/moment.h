#pragma once

#include <kelp/oplog/log_entry.h>

#include <chrono>
#include <optional>
#include <string>

namespace kelp::ctl {

/// Return the moment that a text from the command line means: a UTC time, or a length of time
/// before `now` ("90s", "15m", "2h", "7d"). Throws std::runtime_error with one line that begins
/// with the option.
oplog::UtcTime momentOf(const std::string& text, const std::string& option, oplog::UtcTime now);

/// Return the length of time of a text such as "90s", "15m", "2h" or "7d". None for any other text.
std::optional<std::chrono::seconds> lengthOf(const std::string& text);

}  // namespace kelp::ctl
