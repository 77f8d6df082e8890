#include "alarms/alarm_lines.h"

#include "alarms/alarm_table.h"
#include "events/event_colour.h"
#include "text/json_line.h"

namespace kelp::nms {

const char* changeName(AlarmChange::What what) {
    using What = AlarmChange::What;
    switch (what) {
        case What::Raised:
            return "new";
        case What::Changed:
            return "changed";
        case What::Acknowledged:
            return "acknowledged";
        case What::Unacknowledged:
            return "unacknowledged";
        case What::Cleared:
        case What::Gone:
            return "cleared";
        case What::Passed:
            return "message";
        case What::Nothing:
        case What::Refused:
            break;
    }
    return "";
}

AlarmLines::AlarmLines(EventReport::Surroundings surroundings, AlarmFilter filter)
    : to_(surroundings), notices_(std::move(surroundings)), filter_(std::move(filter)) {}

void AlarmLines::changed(const AlarmChange& change) {
    // what is cleared is filtered by what it was
    const bool isOver =
        change.what == AlarmChange::What::Cleared || change.what == AlarmChange::What::Gone;
    if (!(change.before && filter_.accepts(*change.before)) &&
        (isOver || !filter_.accepts(*change.alarm)))
        return;
    const nlohmann::ordered_json fields = fieldsOf(*change.alarm);
    if (to_.json) {
        nlohmann::ordered_json line{{"time", timestamp(to_.wallNow())},
                                    {"change", changeName(change.what)},
                                    {"alarm", fields}};
        if (change.what == AlarmChange::What::Gone)
            line["clearSeen"] = false;
        return to_.write(lineOf(line));
    }
    const AlarmTable table(to_.width(), true);
    if (!std::exchange(hasBegun_, true))
        to_.write(to_.colours ? coloured(table.header(), kDim) : table.header());
    const std::string row = table.row(cellsOf(*change.alarm), changeName(change.what));
    to_.write(to_.colours ? coloured(row, colourOf({"NT_ALARM", fields})) : row);
}

void AlarmLines::notice(const Notice& notice) {
    notices_.notice(notice);
}

}  // namespace kelp::nms
