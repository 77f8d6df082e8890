#include "events/event_report.h"

#include <kelp/util/trace_log.h>

#include "events/event_colour.h"
#include "events/event_table.h"
#include "text/json_line.h"

namespace kelp::nms {

namespace {

using Json = nlohmann::ordered_json;

}  // namespace

std::string EventReport::timeFor(unsigned width) const {
    return width == 0 ? timestamp(to_.wallNow())
                      : shortTime(to_.wallNow(), EventTable(width).showsDay());
}

void EventReport::begin() {
    if (to_.json)
        return;
    const std::string header = EventTable(to_.width()).header();
    to_.write(to_.colours ? coloured(header, kDim) : header);
}

void EventReport::event(const EventRecord& event, bool isDuplicate) {
    if (to_.json) {
        Json line{
            {"time", timestamp(to_.wallNow())}, {"type", event.type}, {"fields", event.fields}};
        if (isDuplicate)
            line["duplicate"] = true;
        return to_.write(lineOf(line));
    }
    const unsigned width = to_.width();
    EventCells cells = cellsOf(event);
    cells.time = timeFor(width);
    if (isDuplicate)
        cells.text = "(duplicate) " + cells.text;
    const std::string row = EventTable(width).row(cells);
    to_.write(to_.colours ? coloured(row, isDuplicate ? kDim : colourOf(event)) : row);
}

void EventReport::notice(const Notice& notice) {
    if (to_.json) {
        Json line{{"time", timestamp(to_.wallNow())}, {"event", notice.name}};
        line.update(notice.details);
        if (!notice.advice.empty())
            line["advice"] = notice.advice;
        return to_.write(lineOf(line));
    }
    std::string line = timeFor(to_.width()) + " *** " + notice.name;
    for (const auto& [name, value] : notice.details.items())
        line += "  " + name + " " +
                util::escaped(value.is_string() ? value.get<std::string>() : lineOf(value));
    if (!notice.advice.empty())
        line += "  (" + notice.advice + ")";
    to_.write(to_.colours ? coloured(line, kNoticeColour) : line);
}

}  // namespace kelp::nms
