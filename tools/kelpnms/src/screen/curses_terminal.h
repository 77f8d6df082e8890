#pragma once

#include <chrono>
#include <optional>

#include "screen/screen_frame.h"

namespace kelp::nms {

/// The terminal as a screen (ncurses). Only one can exist at a time. For one thread, except for
/// restore().
class CursesTerminal {
  public:
    /// Take over the terminal of standard input and output. Throws std::invalid_argument if it
    /// cannot show a screen.
    explicit CursesTerminal(bool mayUseColours);
    /// Give the terminal back as it was.
    ~CursesTerminal();
    CursesTerminal(const CursesTerminal&) = delete;
    CursesTerminal& operator=(const CursesTerminal&) = delete;

    unsigned width() const;
    unsigned height() const;
    void draw(const ScreenFrame& frame);
    /// Wait for a key, at most this long. A change of the terminal's size counts as a key.
    std::optional<ScreenKey> key(std::chrono::milliseconds limit);

    /// Give the terminal back from any thread, just before the process exits. Does nothing if
    /// there is no CursesTerminal.
    static void restore();

  private:
    bool hasColours_ = false;
};

}  // namespace kelp::nms
