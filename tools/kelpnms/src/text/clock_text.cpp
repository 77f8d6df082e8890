#include "text/clock_text.h"

#include <fmt/chrono.h>

namespace kelp::nms {

std::string timestamp(WallTime moment) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(moment);
    const auto fraction =
        std::chrono::duration_cast<std::chrono::milliseconds>(moment - seconds).count();
    const std::tm local = fmt::localtime(std::chrono::system_clock::to_time_t(seconds));
    return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}{:%z}", local, fraction, local);
}

std::string shortTime(WallTime moment, bool withDay) {
    const std::tm local = fmt::localtime(std::chrono::system_clock::to_time_t(moment));
    return withDay ? fmt::format("{:%m-%d %H:%M:%S}", local) : fmt::format("{:%H:%M:%S}", local);
}

}  // namespace kelp::nms
