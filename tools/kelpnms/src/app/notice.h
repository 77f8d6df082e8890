#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace kelp::nms {

/// Something to know about the events beside the events themselves.
struct Notice {
    std::string name;                ///< as in JSON, such as "eventLossOccurred"
    nlohmann::ordered_json details;  ///< an object of texts and numbers
    std::string advice;              ///< what the user should do; may be empty
};

/// What to do when events may be missing.
inline constexpr const char* kResynchronise =
    "events may be missing: resynchronise, read the active alarms and changed objects anew";

}  // namespace kelp::nms
