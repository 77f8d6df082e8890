#pragma once

#include <string>

#include "events/event_record.h"

namespace kelp::nms {

/// What a table shows of an event, a text a column, without control characters.
struct EventCells {
    std::string time;
    std::string severity;
    std::string type;
    std::string object;
    std::string cause;
    std::string text;
};

/// All but the time. An event that is no alarm is shown by the fields that say the like of it: what
/// it is about, why, and in which words.
EventCells cellsOf(const EventRecord& event);

}  // namespace kelp::nms
