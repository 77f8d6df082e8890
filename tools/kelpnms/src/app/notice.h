#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace kelp::nms {

/// Information about the stream of events that the user should know, such as a loss.
struct Notice {
    std::string name;                ///< its name in JSON, such as "eventLossOccurred"
    nlohmann::ordered_json details;  ///< an object whose values are texts and numbers
    std::string advice;              ///< what the user should do; may be empty
};

/// The advice for notices after which events may be missing.
inline constexpr const char* kResynchronise =
    "events may be missing: resynchronise, read the active alarms and changed objects again";

}  // namespace kelp::nms
