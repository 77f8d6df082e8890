#include "events/event_colour.h"

#include <array>
#include <utility>

namespace kelp::nms {

namespace {

constexpr std::array<std::pair<const char*, const char*>, 6> kColours{{
    {"PS_CRITICAL", "\033[1;31m"},
    {"PS_MAJOR", "\033[31m"},
    {"PS_MINOR", "\033[33m"},
    {"PS_WARNING", "\033[36m"},
    {"PS_INDETERMINATE", "\033[34m"},
    {"PS_CLEARED", "\033[32m"},
}};

}  // namespace

std::string colourOf(const EventRecord& event) {
    if (isHeartbeat(event))
        return kDim;
    const std::string severity = textOf(event, "perceivedSeverity");
    for (const auto& [name, colour] : kColours) {
        if (severity == name)
            return colour;
    }
    return {};
}

std::string coloured(const std::string& line, const std::string& colour) {
    return colour.empty() ? line : colour + line + "\033[0m";
}

}  // namespace kelp::nms
