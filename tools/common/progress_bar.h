#pragma once

#include <cstdint>
#include <string>

namespace kelp::tools {

/// A line on standard error that shows the progress of an operation, if standard error is a
/// terminal; otherwise nothing. The destructor removes the line.
class ProgressBar {
  public:
    explicit ProgressBar(std::string title);
    ~ProgressBar() { hide(); }
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// `detail` is shown after the bar. It must be short and have no control characters.
    void show(std::uint64_t done, std::uint64_t total, const std::string& detail = {});
    /// Remove the line until the next show(), so that something else can be written.
    void hide();

  private:
    const std::string title_;
    const bool isTerminal_;
    bool isShown_ = false;
};

/// Return the line "title [#####.....]  50 %".
std::string progressLine(const std::string& title, std::uint64_t done, std::uint64_t total);

}  // namespace kelp::tools
