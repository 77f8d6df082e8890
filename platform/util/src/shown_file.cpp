#include <fcntl.h>
#include <kelp/util/descriptor.h>
#include <kelp/util/shown_file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace kelp::util {

namespace {

constexpr mode_t kReadableForAll = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;

std::string failure(const std::filesystem::path& file, int error) {
    return "cannot write " + file.string() + ": " + std::generic_category().message(error);
}

bool writeAll(int descriptor, const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const ssize_t count = ::write(descriptor, text.data() + at, text.size() - at);
        if (count < 0 && errno != EINTR)
            return false;
        if (count > 0)
            at += static_cast<std::size_t>(count);
    }
    return true;
}

bool isSame(const std::filesystem::path& file, const std::string& text) {
    const Descriptor in(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    std::string found(text.size() + 1, '\0');
    return in.isOpen() &&
           ::read(in.get(), found.data(), found.size()) == static_cast<ssize_t>(text.size()) &&
           found.compare(0, text.size(), text) == 0;
}

}  // namespace

ShownFile::~ShownFile() {
    remove();
}

std::string ShownFile::show(const std::filesystem::path& file, const std::string& text) {
    remove();
    // in the same folder, so that rename() can replace the file in one step; mkostemp never opens
    // an existing file
    std::string part = file.string() + ".XXXXXX";
    const Descriptor out(::mkostemp(part.data(), O_CLOEXEC));
    if (!out.isOpen())
        return failure(file, errno);
    if (!writeAll(out.get(), text) || ::fchmod(out.get(), kReadableForAll) != 0 ||
        ::fsync(out.get()) != 0 || ::rename(part.c_str(), file.c_str()) != 0) {
        const int error = errno;
        ::unlink(part.c_str());
        return failure(file, error);
    }
    file_ = file;
    text_ = text;
    return {};
}

void ShownFile::remove() noexcept {
    if (!file_.empty() && isSame(file_, text_))
        ::unlink(file_.c_str());
    file_.clear();
}

}  // namespace kelp::util
