#pragma once

#include <kelp/oplog/log_entry.h>

#include <string>

namespace kelp::ctl {

/// The moment that a text of the command line means: a UTC time, or so long before `now` ("90s",
/// "15m", "2h", "7d"). Throws std::runtime_error with one line that begins with the option.
oplog::UtcTime momentOf(const std::string& text, const std::string& option, oplog::UtcTime now);

}  // namespace kelp::ctl
