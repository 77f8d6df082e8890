#pragma once

#include <kelp/util/descriptor.h>

#include <cstddef>
#include <optional>
#include <string>

namespace kelp::example {

/// A line longer than this is skipped, in octets. An alarm with all its fields is shorter.
inline constexpr std::size_t kLineBytesMax = 64 << 10;

struct Line {
    std::size_t number = 0;  ///< 1 for the first line of the file
    std::string text;        ///< without its end
    std::string problem;     ///< why it cannot be a report, as a sentence; empty: it may be one
};

/// Reads a file line by line in bounded memory. Blank lines are skipped.
class LineReader {
  public:
    explicit LineReader(util::Descriptor file) : file_(std::move(file)) {}

    /// The next line; nothing at the end of the file. Throws std::system_error when the file cannot
    /// be read.
    std::optional<Line> next();

  private:
    /// Read up to the next end of line. False at the end of the file.
    bool readLine(Line& line);
    /// Read more octets of the file. False at its end.
    bool fill();

    util::Descriptor file_;
    std::string unread_;
    std::size_t number_ = 0;
    bool isAtEnd_ = false;
};

}  // namespace kelp::example
