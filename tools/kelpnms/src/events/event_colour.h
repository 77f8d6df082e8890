#pragma once

#include <string>

#include "events/event_record.h"

namespace kelp::nms {

/// The terminal's control sequence for an event's line: by its perceivedSeverity, dim for a
/// heartbeat. Empty: the terminal's own colour.
std::string colourOf(const EventRecord& event);

/// The line in that colour, which ends with it.
std::string coloured(const std::string& line, const std::string& colour);

inline constexpr const char* kNoticeColour = "\033[1;35m";
inline constexpr const char* kDim = "\033[2m";

}  // namespace kelp::nms
