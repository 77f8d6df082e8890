#pragma once

#include <cstddef>
#include <string>

namespace kelp::nms {

/// How many columns of a terminal the text takes. It must be UTF-8 without control characters, as
/// util::escaped makes it.
std::size_t displayWidth(const std::string& text);

/// The text cut to at most so many columns; a cut one ends with '~'.
std::string cutTo(const std::string& text, std::size_t columns);

/// The text with blanks after it up to so many columns; a wider one stays as it is.
std::string paddedTo(const std::string& text, std::size_t columns);

}  // namespace kelp::nms
