#pragma once

#include <kelp/oplog/log_entry.h>

#include <string>

namespace kelp::ctl {

/// Return the moment that a text from the command line means: a UTC time, or a length of time
/// before `now` ("90s", "15m", "2h", "7d"). Throws std::runtime_error with one line that begins
/// with the option.
oplog::UtcTime momentOf(const std::string& text, const std::string& option, oplog::UtcTime now);

}  // namespace kelp::ctl
