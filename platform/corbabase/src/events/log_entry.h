#pragma once

#include <string>

namespace NS_CORBA {

/// The text on one line, so that it can be told back: a backslash, line ends, tabs and other
/// control characters are written with a backslash. A text that was escaped before is escaped once
/// more.
std::string escapedEntryText(const std::string& text);

}  // namespace NS_CORBA
