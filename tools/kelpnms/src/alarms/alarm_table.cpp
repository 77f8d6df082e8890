#include "alarms/alarm_table.h"

#include <kelp/util/trace_log.h>

#include <algorithm>

#include "events/event_cells.h"
#include "text/display_text.h"

namespace kelp::nms {

namespace {

// widths of columns
constexpr std::size_t kChangeWidth = 14;    // "unacknowledged"
constexpr std::size_t kSeverityWidth = 13;  // "indeterminate"
constexpr std::size_t kAckWidth = 3;
constexpr std::size_t kTimeWidth = 17;  // "20261231235959.0Z"
constexpr std::size_t kObjectWidthLeast = 12;
constexpr std::size_t kCauseWidthLeast = 6;

}  // namespace

AlarmCells cellsOf(const NmsAlarm& alarm) {
    const EventCells cells = cellsOf(EventRecord{"NT_ALARM", fieldsOf(alarm)});
    const std::string& qualifier = alarm.id.probableCauseQualifier;
    return {shortNameOf(alarm.severity),
            alarm.isAcknowledged ? "ack" : "",
            util::escaped(alarm.emsTime),
            cells.object,
            qualifier.empty() ? cells.cause : cells.cause + "/" + util::escaped(qualifier),
            cells.text};
}

AlarmTable::AlarmTable(unsigned width, bool withChange)
    : width_(width), change_(withChange ? kChangeWidth : 0) {
    if (width == 0)
        return;
    const std::size_t taken = change_ + kSeverityWidth + kAckWidth + kTimeWidth + 6;
    const std::size_t left = width > taken ? width - taken : 0;
    object_ = std::max(kObjectWidthLeast, left * 2 / 5);
    cause_ = std::max(kCauseWidthLeast, left / 4);
}

std::string AlarmTable::cell(const std::string& text, std::size_t width) const {
    return paddedTo(width_ == 0 ? text : cutTo(text, width), width) + ' ';
}

std::string AlarmTable::header() const {
    return row({"SEVERITY", "ACK", "TIME", "OBJECT", "CAUSE", "TEXT"}, "CHANGE");
}

std::string AlarmTable::row(const AlarmCells& cells, const std::string& change) const {
    std::string line = change_ == 0 ? "" : cell(change, change_);
    line += cell(cells.severity, kSeverityWidth) + cell(cells.acknowledged, kAckWidth) +
            cell(cells.time, kTimeWidth) + cell(cells.object, object_) + cell(cells.cause, cause_) +
            cells.text;
    line.erase(line.find_last_not_of(' ') + 1);
    return width_ == 0 ? line : cutTo(line, width_);
}

}  // namespace kelp::nms
