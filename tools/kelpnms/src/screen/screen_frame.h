#pragma once

#include <string>
#include <vector>

namespace kelp::nms {

/// How a line is drawn.
enum class LineStyle { Plain, Title, Quiet, Alert, Critical, Major, Minor, Warning, Indeterminate };

/// A line of the screen: UTF-8 without control characters, not wider than the screen.
struct ScreenLine {
    std::string text;
    LineStyle style = LineStyle::Plain;
    bool isSelected = false;

    bool operator==(const ScreenLine&) const = default;
};
/// The lines of the screen, from the top.
using ScreenFrame = std::vector<ScreenLine>;

/// A key that was pressed.
struct ScreenKey {
    enum class Kind {
        Character,
        Up,
        Down,
        PageUp,
        PageDown,
        Home,
        End,
        Enter,
        Escape,
        Backspace,
        Other  ///< a key without meaning, or another size of the screen
    };
    Kind kind = Kind::Other;
    std::string text = {};  ///< of a Character: UTF-8
};

}  // namespace kelp::nms
