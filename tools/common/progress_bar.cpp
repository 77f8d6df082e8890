#include "common/progress_bar.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace kelp::tools {

std::string progressLine(const std::string& title, std::uint64_t done, std::uint64_t total) {
    constexpr std::size_t kWidth = 40;
    const double part =
        total == 0 ? 1 : std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
    const auto filled = static_cast<std::size_t>(part * static_cast<double>(kWidth));
    char percent[16];
    std::snprintf(percent, sizeof percent, "%3d %%", static_cast<int>(part * 100));
    return title + " [" + std::string(filled, '#') + std::string(kWidth - filled, '.') + "] " +
           percent;
}

ProgressBar::ProgressBar(std::string title)
    : title_(std::move(title)), isTerminal_(::isatty(STDERR_FILENO) != 0) {}

void ProgressBar::show(std::uint64_t done, std::uint64_t total, const std::string& detail) {
    if (!isTerminal_)
        return;
    isShown_ = true;
    std::fprintf(stderr, "\r%s%s%s\x1b[K", progressLine(title_, done, total).c_str(),
                 detail.empty() ? "" : "  ", detail.c_str());
    std::fflush(stderr);
}

void ProgressBar::hide() {
    if (!isShown_)
        return;
    isShown_ = false;
    std::fputs("\r\x1b[K", stderr);
    std::fflush(stderr);
}

}  // namespace kelp::tools
