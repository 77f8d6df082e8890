// This file is alone in its library: the macros of curses.h must not reach other sources.

#include "screen/curses_terminal.h"

#define NCURSES_NOMACROS
#include <curses.h>
#include <langinfo.h>
#include <locale.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <stdexcept>
#include <string>
#include <utility>

namespace kelp::nms {

namespace {

using Kind = ScreenKey::Kind;

std::atomic<bool> hasScreen{false};

/// The texts are UTF-8, whatever the environment says.
void useUtf8() {
    ::setlocale(LC_CTYPE, "");
    if (std::strcmp(::nl_langinfo(CODESET), "UTF-8") != 0)
        ::setlocale(LC_CTYPE, "C.UTF-8");
}

void defineColours() {
    ::start_color();
    ::use_default_colors();
    const std::pair<LineStyle, short> colours[] = {
        {LineStyle::Alert, COLOR_MAGENTA}, {LineStyle::Critical, COLOR_RED},
        {LineStyle::Major, COLOR_RED},     {LineStyle::Minor, COLOR_YELLOW},
        {LineStyle::Warning, COLOR_CYAN},  {LineStyle::Indeterminate, COLOR_BLUE}};
    for (const auto& [style, colour] : colours)
        ::init_pair(static_cast<short>(style), colour, -1);
}

attr_t attributesOf(const ScreenLine& line) {
    attr_t attributes = A_NORMAL;
    if (line.style == LineStyle::Quiet)
        attributes = A_DIM;
    if (line.style == LineStyle::Title || line.style == LineStyle::Alert ||
        line.style == LineStyle::Critical)
        attributes = A_BOLD;
    return line.isSelected ? attributes | A_REVERSE : attributes;
}

bool hasPair(LineStyle style) {
    return style != LineStyle::Plain && style != LineStyle::Title && style != LineStyle::Quiet;
}

std::string utf8Of(wchar_t character) {
    char bytes[16];
    std::mbstate_t state{};
    const std::size_t length = ::wcrtomb(bytes, character, &state);
    return length == static_cast<std::size_t>(-1) ? std::string() : std::string(bytes, length);
}

ScreenKey functionKey(wint_t code) {
    switch (code) {
        case KEY_UP:
            return {Kind::Up};
        case KEY_DOWN:
            return {Kind::Down};
        case KEY_PPAGE:
            return {Kind::PageUp};
        case KEY_NPAGE:
            return {Kind::PageDown};
        case KEY_HOME:
            return {Kind::Home};
        case KEY_END:
            return {Kind::End};
        case KEY_ENTER:
            return {Kind::Enter};
        case KEY_BACKSPACE:
        case KEY_DC:
            return {Kind::Backspace};
        default:
            return {Kind::Other};
    }
}

ScreenKey characterKey(wint_t code) {
    constexpr wint_t kEscapeCode = 27;
    constexpr wint_t kDeleteCode = 127;
    if (code == '\n' || code == '\r')
        return {Kind::Enter};
    if (code == kEscapeCode)
        return {Kind::Escape};
    if (code == kDeleteCode || code == '\b')
        return {Kind::Backspace};
    if (code < ' ')
        return {Kind::Other};
    return {Kind::Character, utf8Of(static_cast<wchar_t>(code))};
}

}  // namespace

CursesTerminal::CursesTerminal(bool mayUseColours) {
    useUtf8();
    if (::newterm(nullptr, stdout, stdin) == nullptr)
        throw std::invalid_argument("this terminal (TERM) cannot show a screen; use --lines");
    hasScreen = true;
    ::cbreak();
    ::noecho();
    ::nonl();
    ::keypad(stdscr, TRUE);
    ::set_escdelay(50);
    ::curs_set(0);
    hasColours_ = mayUseColours && ::has_colors();
    if (hasColours_)
        defineColours();
}

CursesTerminal::~CursesTerminal() {
    restore();
}

void CursesTerminal::restore() {
    if (hasScreen.exchange(false))
        ::endwin();
}

unsigned CursesTerminal::width() const {
    return static_cast<unsigned>(::getmaxx(stdscr));
}

unsigned CursesTerminal::height() const {
    return static_cast<unsigned>(::getmaxy(stdscr));
}

void CursesTerminal::draw(const ScreenFrame& frame) {
    ::werase(stdscr);
    int row = 0;
    for (const ScreenLine& line : frame) {
        const short pair =
            hasColours_ && hasPair(line.style) ? static_cast<short>(line.style) : short{0};
        ::wattr_set(stdscr, attributesOf(line), pair, nullptr);
        ::mvwaddnstr(stdscr, row++, 0, line.text.data(), static_cast<int>(line.text.size()));
    }
    ::wattr_set(stdscr, A_NORMAL, 0, nullptr);
    ::wrefresh(stdscr);
}

std::optional<ScreenKey> CursesTerminal::key(std::chrono::milliseconds limit) {
    ::wtimeout(stdscr, static_cast<int>(limit.count()));
    wint_t code = 0;
    const int kind = ::wget_wch(stdscr, &code);
    if (kind == ERR)
        return std::nullopt;
    return kind == KEY_CODE_YES ? functionKey(code) : characterKey(code);
}

}  // namespace kelp::nms
