#pragma once

#include <cstdint>
#include <string>

namespace kelp::tools {

/// One line on standard error that shows how far something is, when that is a terminal; nothing
/// otherwise. The line goes with the bar.
class ProgressBar {
  public:
    explicit ProgressBar(std::string title);
    ~ProgressBar() { hide(); }
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// `detail` stands behind the bar; it must be short and without control characters.
    void show(std::uint64_t done, std::uint64_t total, const std::string& detail = {});
    /// Takes the line away until it is shown again, so that something else can be written.
    void hide();

  private:
    const std::string title_;
    const bool isTerminal_;
    bool isShown_ = false;
};

/// "title [#####.....]  50 %".
std::string progressLine(const std::string& title, std::uint64_t done, std::uint64_t total);

}  // namespace kelp::tools
