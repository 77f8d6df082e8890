#include "screen/alarm_screen.h"

#include <fmt/core.h>
#include <kelp/util/trace_log.h>

#include <algorithm>

#include "alarms/alarm_table.h"
#include "text/display_text.h"
#include "text/json_line.h"

namespace kelp::nms {

namespace {

using KeyKind = ScreenKey::Kind;

constexpr std::size_t kSearchBytesMax = 100;
constexpr std::size_t kMessageBytesMax = 500;
/// Lines that are not rows: title, counts, header, and the line at the bottom.
constexpr unsigned kOtherLines = 4;
constexpr const char* kKeys = "a acknowledge  u undo  / search  Enter details  q quit";

LineStyle styleOf(alarms::Severity severity) {
    switch (severity) {
        case alarms::Severity::Critical:
            return LineStyle::Critical;
        case alarms::Severity::Major:
            return LineStyle::Major;
        case alarms::Severity::Minor:
            return LineStyle::Minor;
        case alarms::Severity::Warning:
            return LineStyle::Warning;
        case alarms::Severity::Indeterminate:
        case alarms::Severity::Cleared:
            break;
    }
    return LineStyle::Indeterminate;
}

void removeLastCharacter(std::string& text) {
    while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xc0) == 0x80)
        text.pop_back();
    if (!text.empty())
        text.pop_back();
}

}  // namespace

void AlarmScreen::changed(const AlarmChange& change) {
    rows_.changed(change);
    if (change.what == AlarmChange::What::Passed) {
        const AlarmCells cells = cellsOf(*change.alarm);
        say(fmt::format("message: {} {} {} {}", cells.severity, cells.object, cells.cause,
                        cells.text));
    }
}

void AlarmScreen::notice(const Notice& notice) {
    std::string sentence = notice.name;
    for (const auto& [name, value] : notice.details.items())
        sentence += fmt::format("  {} {}", name,
                                value.is_string() ? value.get<std::string>() : lineOf(value));
    say(sentence, notice.name != "resynchronised" && notice.name != "reconnected");
}

void AlarmScreen::say(const std::string& sentence, bool isAlert) {
    message_ = util::escaped(sentence, kMessageBytesMax);
    isAlert_ = isAlert;
}

std::optional<AlarmScreen::Wish> AlarmScreen::pressed(const ScreenKey& key) {
    if (isTyping_)
        return pressedInSearch(key);
    if (key.kind == KeyKind::Character)
        return pressedLetter(key.text);
    if (key.kind == KeyKind::Enter)
        hasDetails_ = !hasDetails_;
    else if (key.kind == KeyKind::Escape)
        rows_.search(search_ = "");
    else
        moved(key);
    return std::nullopt;
}

std::optional<AlarmScreen::Wish> AlarmScreen::pressedInSearch(const ScreenKey& key) {
    if (key.kind == KeyKind::Enter) {
        isTyping_ = false;
    } else if (key.kind == KeyKind::Escape) {
        isTyping_ = false;
        rows_.search(search_ = "");
    } else if (key.kind == KeyKind::Backspace) {
        removeLastCharacter(search_);
        rows_.search(search_);
    } else if (key.kind == KeyKind::Character) {
        if (search_.size() + key.text.size() <= kSearchBytesMax)
            rows_.search(search_ += key.text);
    } else {
        moved(key);
    }
    return std::nullopt;
}

std::optional<AlarmScreen::Wish> AlarmScreen::pressedLetter(const std::string& letter) {
    if (letter == "q")
        return Wish{Wish::Kind::Quit};
    if (letter == "/")
        isTyping_ = true;
    const bool isUndo = letter == "u";
    if ((letter == "a" || isUndo) && rows_.selected() != nullptr)
        return Wish{isUndo ? Wish::Kind::Unacknowledge : Wish::Kind::Acknowledge,
                    rows_.selected()->id};
    return std::nullopt;
}

void AlarmScreen::moved(const ScreenKey& key) {
    const int page = static_cast<int>(std::max<std::size_t>(rowsShown_, 1));
    switch (key.kind) {
        case KeyKind::Up:
            return rows_.moveSelection(-1);
        case KeyKind::Down:
            return rows_.moveSelection(1);
        case KeyKind::PageUp:
            return rows_.moveSelection(-page);
        case KeyKind::PageDown:
            return rows_.moveSelection(page);
        case KeyKind::Home:
            return rows_.selectFirst();
        case KeyKind::End:
            return rows_.selectLast();
        default:
            return;
    }
}

std::string AlarmScreen::stateInWords() const {
    switch (state_) {
        case AlarmDisplay::State::Connecting:
            return "NOT CONNECTED, the list may be out of date";
        case AlarmDisplay::State::Reading:
            return "reading the list";
        case AlarmDisplay::State::Uncertain:
            return "EVENTS WERE LOST, the list may be out of date";
        case AlarmDisplay::State::InStep:
            break;
    }
    return "connected, in step with the EMS";
}

std::string AlarmScreen::countsInWords() const {
    std::string words;
    for (const alarms::Severity severity : kSeverityOrder)
        words += fmt::format("{} {}  ", shortNameOf(severity),
                             rows_.counts().at(static_cast<std::size_t>(severity)));
    words += fmt::format("total {}  unacknowledged {}", rows_.size(), rows_.unacknowledged());
    if (!search_.empty())
        words += fmt::format("  found {}", rows_.found());
    return words;
}

std::string AlarmScreen::bottomLine() const {
    if (isTyping_)
        return "search: " + util::escaped(search_) + "_";
    const std::string search = search_.empty() ? "" : "[" + util::escaped(search_) + "]  ";
    return search + (message_.empty() ? kKeys : message_);
}

ScreenFrame AlarmScreen::frame(unsigned width, unsigned height) {
    const bool isSafe =
        state_ == AlarmDisplay::State::InStep || state_ == AlarmDisplay::State::Reading;
    const AlarmTable table(std::max(width, 1u));
    ScreenFrame frame;
    frame.push_back({title_ + "  " + stateInWords(), isSafe ? LineStyle::Title : LineStyle::Alert});
    frame.push_back({countsInWords(), LineStyle::Plain});
    frame.push_back({table.header(), LineStyle::Quiet});
    const std::size_t room = height > kOtherLines ? height - kOtherLines : 0;
    const std::size_t details = hasDetails_ ? room / 2 : 0;
    rowsShown_ = room - details;
    for (const NmsAlarmPtr& alarm : rows_.window(rowsShown_))
        frame.push_back(
            {table.row(cellsOf(*alarm)), styleOf(alarm->severity), alarm == rows_.selected()});
    frame.resize(3 + rowsShown_);
    addDetails(frame, width, details);
    frame.resize(3 + room);
    frame.push_back({bottomLine(), isAlert_ && !isTyping_ ? LineStyle::Alert : LineStyle::Quiet});
    if (frame.size() > height)
        frame.resize(height);
    for (ScreenLine& line : frame)
        line.text = cutTo(line.text, width);
    return frame;
}

void AlarmScreen::addDetails(ScreenFrame& frame, unsigned width, std::size_t most) const {
    if (most == 0 || rows_.selected() == nullptr)
        return;
    frame.push_back({std::string(width, '-'), LineStyle::Quiet});
    const nlohmann::ordered_json fields = fieldsOf(*rows_.selected());
    for (const auto& [name, value] : fields.items()) {
        const std::string text = value.is_string() ? value.get<std::string>() : lineOf(value);
        if (!text.empty() && text != "[]" && text != "{}" && frame.size() < 3 + rowsShown_ + most)
            frame.push_back({util::escaped(name) + ": " + util::escaped(text)});
    }
}

}  // namespace kelp::nms
