#include "text/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace kelp::nms {

namespace {

std::string_view environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string_view() : value;
}

}  // namespace

bool mayBeColoured(int fd) {
    return ::isatty(fd) != 0 && environment("NO_COLOR").empty() && environment("TERM") != "dumb";
}

unsigned terminalWidth(int fd) {
    winsize size{};
    return ::isatty(fd) != 0 && ::ioctl(fd, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0u;
}

}  // namespace kelp::nms
