#pragma once

#include <string>

#include "alarms/nms_alarm.h"

namespace kelp::nms {

/// The cells of an alarm's row, without control characters.
struct AlarmCells {
    std::string severity;
    std::string acknowledged;  ///< "ack" or empty
    std::string time;          ///< the emsTime, in the EMS's layout
    std::string object;        ///< without the component EMS
    std::string cause;         ///< with the qualifier
    std::string text;
};
AlarmCells cellsOf(const NmsAlarm& alarm);

/// Lays alarms out in columns whose widths depend only on the width of the terminal.
class AlarmTable {
  public:
    /// `width` is the terminal's width in columns, which no line exceeds. 0 means that the output
    /// is not a terminal; then nothing is cut. With a change, each row begins with what the alarm
    /// has become.
    explicit AlarmTable(unsigned width, bool withChange = false);

    std::string header() const;
    std::string row(const AlarmCells& cells, const std::string& change = "") const;

  private:
    std::string cell(const std::string& text, std::size_t width) const;

    const std::size_t width_;
    const std::size_t change_;
    std::size_t object_ = 40;
    std::size_t cause_ = 20;
};

}  // namespace kelp::nms
