#pragma once

#include <string>

#include "events/event_cells.h"

namespace kelp::nms {

/// Lays events out in columns whose widths depend only on the width of the terminal.
class EventTable {
  public:
    /// `width` is the terminal's width in columns, which no line exceeds. 0 means that the output
    /// is not a terminal; then nothing is cut.
    explicit EventTable(unsigned width);

    std::string header() const;
    std::string row(const EventCells& cells) const;
    /// Whether the column for the time is wide enough for the day.
    bool showsDay() const { return widths_.time >= 14; }

  private:
    struct Widths {
        std::size_t time, severity, type, object, cause;
    };
    static Widths widthsFor(std::size_t width);
    std::string cell(const std::string& text, std::size_t width) const;

    const std::size_t width_;
    const Widths widths_;
};

}  // namespace kelp::nms
