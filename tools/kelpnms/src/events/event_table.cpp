#include "events/event_table.h"

#include <algorithm>

#include "text/display_text.h"

namespace kelp::nms {

namespace {

constexpr std::size_t kGap = 1;            ///< blanks between two columns
constexpr std::size_t kSeverity = 8;       ///< "CRITICAL"
constexpr std::size_t kTimeOfDay = 8;      ///< "23:59:59"
constexpr std::size_t kDayAndTime = 14;    ///< "12-31 23:59:59"
constexpr std::size_t kTimestamp = 28;     ///< "2026-12-31T23:59:59.999+0100"
constexpr std::size_t kTypeShort = 15;     ///< "NT_STATE_CHANGE"
constexpr std::size_t kTypeLong = 25;      ///< "NT_ATTRIBUTE_VALUE_CHANGE"
constexpr std::size_t kWidthForDay = 100;  ///< width of the terminal from which on the day is shown
constexpr std::size_t kWidthForTypes = 120;  ///< width from which on the longest type fits
constexpr std::size_t kObjectLeast = 8;
constexpr std::size_t kCauseLeast = 6;

}  // namespace

EventTable::EventTable(unsigned width) : width_(width), widths_(widthsFor(width)) {}

EventTable::Widths EventTable::widthsFor(std::size_t width) {
    if (width == 0)
        return {kTimestamp, kSeverity, kTypeLong, 40, 20};
    const std::size_t time = width >= kWidthForDay ? kDayAndTime : kTimeOfDay;
    const std::size_t type = width >= kWidthForTypes ? kTypeLong : kTypeShort;
    const std::size_t taken = time + kSeverity + type + 5 * kGap;
    const std::size_t left = width > taken ? width - taken : 0;
    return {time, kSeverity, type, std::max(kObjectLeast, left * 2 / 5),
            std::max(kCauseLeast, left / 4)};
}

std::string EventTable::cell(const std::string& text, std::size_t width) const {
    return paddedTo(width_ == 0 ? text : cutTo(text, width), width) + std::string(kGap, ' ');
}

std::string EventTable::header() const {
    return row({"TIME", "SEVERITY", "TYPE", "OBJECT", "CAUSE", "TEXT"});
}

std::string EventTable::row(const EventCells& cells) const {
    std::string line = cell(cells.time, widths_.time) + cell(cells.severity, widths_.severity) +
                       cell(cells.type, widths_.type) + cell(cells.object, widths_.object) +
                       cell(cells.cause, widths_.cause) + cells.text;
    line.erase(line.find_last_not_of(' ') + 1);
    return width_ == 0 ? line : cutTo(line, width_);
}

}  // namespace kelp::nms
