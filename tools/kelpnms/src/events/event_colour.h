#pragma once

#include <string>

#include "events/event_record.h"

namespace kelp::nms {

/// Return the terminal's control sequence for an event's line: a colour for its perceivedSeverity,
/// dim for a heartbeat. Empty means the terminal's default colour.
std::string colourOf(const EventRecord& event);

/// Put the control sequence before the line and a reset after it.
std::string coloured(const std::string& line, const std::string& colour);

inline constexpr const char* kNoticeColour = "\033[1;35m";
inline constexpr const char* kDim = "\033[2m";

}  // namespace kelp::nms
