#pragma once

#include <optional>
#include <string>

#include "alarms/alarm_display.h"
#include "screen/alarm_rows.h"
#include "screen/screen_frame.h"

namespace kelp::nms {

/// What is on the screen, and what the keys do. It knows no terminal. Not thread-safe.
class AlarmScreen {
  public:
    /// `title` is shown on top, such as the user and the EMS.
    AlarmScreen(AlarmFilter filter, std::string title)
        : rows_(std::move(filter)), title_(std::move(title)) {}

    void changed(const AlarmChange& change);
    void stateIs(AlarmDisplay::State state) { state_ = state; }
    void notice(const Notice& notice);
    /// Show a sentence at the bottom until the next one.
    void say(const std::string& sentence, bool isAlert = false);

    /// What a key asks for that the screen cannot do alone.
    struct Wish {
        enum class Kind { Quit, Acknowledge, Unacknowledge };
        Kind kind = Kind::Quit;
        alarms::AlarmId alarm = {};
    };
    std::optional<Wish> pressed(const ScreenKey& key);

    /// The lines for a screen of this size; never more than `height`.
    ScreenFrame frame(unsigned width, unsigned height);

  private:
    std::optional<Wish> pressedInSearch(const ScreenKey& key);
    std::optional<Wish> pressedLetter(const std::string& letter);
    void moved(const ScreenKey& key);
    std::string stateInWords() const;
    std::string countsInWords() const;
    std::string bottomLine() const;
    void addDetails(ScreenFrame& frame, unsigned width, std::size_t most) const;

    AlarmRows rows_;
    const std::string title_;
    AlarmDisplay::State state_ = AlarmDisplay::State::Connecting;
    std::string message_;
    bool isAlert_ = false;
    std::string search_;
    bool isTyping_ = false;  ///< the search
    bool hasDetails_ = false;
    std::size_t rowsShown_ = 10;  ///< in the last frame
};

}  // namespace kelp::nms
