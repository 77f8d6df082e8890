#pragma once

#include <string>

#include "events/event_record.h"

namespace kelp::nms {

/// The cells of an event's row in a table, without control characters.
struct EventCells {
    std::string time;
    std::string severity;
    std::string type;
    std::string object;
    std::string cause;
    std::string text;
};

/// Return all cells but the time. For an event that is not an alarm, the columns show the
/// corresponding fields: the object concerned, the cause and a description.
EventCells cellsOf(const EventRecord& event);

}  // namespace kelp::nms
