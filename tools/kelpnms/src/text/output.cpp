#include "text/output.h"

#include <cerrno>
#include <iostream>
#include <system_error>
#include <utility>

namespace kelp::nms {

namespace {

constexpr std::size_t kGatheredMax = 1 << 16;

}  // namespace

CannotWrite::CannotWrite(const std::string& name)
    : CannotWrite(name, std::generic_category().message(errno)) {}

CannotWrite::CannotWrite(const std::string& name, const std::string& reason)
    : std::runtime_error(name + " cannot be written: " + reason) {}

void Output::write(const std::string& text) {
    gathered_ += text;
    if (gathered_.size() > kGatheredMax)
        flush();
}

void Output::flush() {
    if (!gathered_.empty())
        sink_(std::exchange(gathered_, {}));
}

void writeToStandardOutput(const std::string& text) {
    errno = 0;
    std::cout << text << std::flush;
    if (!std::cout)
        throw CannotWrite("standard output");
}

}  // namespace kelp::nms
