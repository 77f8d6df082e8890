#include "state/trace_end.h"

#include <fcntl.h>
#include <kelp/util/descriptor.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace kelp::state {

namespace {

/// More than the host keeps.
constexpr int kRotatedMax = 20;

/// The file that was rotated `number` times: "kelpd.3.log".
std::filesystem::path rotated(const std::filesystem::path& file, int number) {
    if (number == 0)
        return file;
    return file.parent_path() /
           (file.stem().string() + "." + std::to_string(number) + file.extension().string());
}

/// The last octets of a file; empty if there is none.
std::string lastOctets(const std::filesystem::path& file, std::size_t bytesMax) {
    const util::Descriptor in(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!in.isOpen() && errno == ENOENT)
        return "";
    if (!in.isOpen() || ::fstat(in.get(), &status) != 0)
        throw std::runtime_error(file.string() +
                                 " cannot be read: " + std::generic_category().message(errno));
    if (!S_ISREG(status.st_mode))
        throw std::runtime_error(file.string() + " is not a regular file");
    const std::size_t size = static_cast<std::size_t>(status.st_size);
    std::string text(std::min(size, bytesMax), '\0');
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = ::pread(in.get(), text.data() + done, text.size() - done,
                                      static_cast<off_t>(size - text.size() + done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    text.resize(done);
    // a line that was cut
    if (size > bytesMax)
        text.erase(0, std::min(text.find('\n'), text.size() - 1) + 1);
    return text;
}

}  // namespace

std::string endOfTrace(const std::filesystem::path& file, std::size_t bytesMax) {
    std::string text;
    for (int i = 0; i <= kRotatedMax && text.size() < bytesMax; ++i) {
        const std::string part = lastOctets(rotated(file, i), bytesMax - text.size());
        if (part.empty() && i > 0)
            break;
        text.insert(0, part);
    }
    return text;
}

}  // namespace kelp::state
