#pragma once

#include <cstddef>
#include <string>

namespace kelp::nms {

/// Return the number of terminal columns that the text occupies. The text must be UTF-8 without
/// control characters, as util::escaped produces it.
std::size_t displayWidth(const std::string& text);

/// Cut the text to at most `columns` columns. A text that was cut ends with '~'.
std::string cutTo(const std::string& text, std::size_t columns);

/// Append blanks to the text up to a width of `columns`. A wider text is not changed.
std::string paddedTo(const std::string& text, std::size_t columns);

/// Return the number with the noun, which ends with "s" unless the number is 1.
std::string countOf(std::size_t number, const std::string& noun);

}  // namespace kelp::nms
