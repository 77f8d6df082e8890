#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "harness/eventually.h"

namespace kelp::test {

/// The output of a process, read as it grows.
class LogFile {
  public:
    explicit LogFile(std::filesystem::path file) : file_(std::move(file)) {}

    /// Return everything written so far.
    const std::string& text();
    bool contains(const std::string& text) { return count(text) > 0; }
    std::size_t count(const std::string& text);
    bool waitFor(const std::string& text, std::size_t times = 1,
                 std::chrono::milliseconds deadline = kPatience);
    /// True if the texts occur in this order, each after the end of the previous one.
    bool containsInOrder(const std::vector<std::string>& texts);
    /// Return the last lines, for a person to read.
    std::string tail(std::size_t lines);

    const std::filesystem::path& file() const { return file_; }

  private:
    std::filesystem::path file_;
    std::string text_;
};

}  // namespace kelp::test
