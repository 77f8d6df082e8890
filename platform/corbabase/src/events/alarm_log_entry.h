#pragma once

#include <string>

namespace NS_CORBA {

/// Escape a text so that it fits on one line and can be restored. Backslashes, line ends, tabs and
/// other control characters are written as an escape that begins with a backslash. A text that is
/// already escaped is escaped again.
std::string escapedEntryText(const std::string& text);

}  // namespace NS_CORBA
