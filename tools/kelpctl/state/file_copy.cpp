#include "state/file_copy.h"

#include <fcntl.h>
#include <kelp/util/descriptor.h>
#include <kelp/util/private_file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <functional>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "state/checksum.h"

namespace kelp::state {

namespace {

constexpr std::size_t kCopyBlock = 1u << 16;

[[noreturn]] void failToRead(const std::filesystem::path& file, const std::string& why) {
    throw std::runtime_error(file.string() + " cannot be read: it " + why);
}

/// Open a regular file. Not open: there is none.
util::Descriptor openToRead(const std::filesystem::path& file) {
    // non-blocking: a pipe without a writer must not hang us
    util::Descriptor in(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!in.isOpen()) {
        if (errno == ENOENT || errno == ENOTDIR)
            return in;
        failToRead(file, errno == ELOOP ? "is a symbolic link, which is not followed"
                                        : "fails with " + std::generic_category().message(errno));
    }
    struct stat status {};
    if (::fstat(in.get(), &status) != 0 || !S_ISREG(status.st_mode))
        failToRead(file, "is not a regular file");
    return in;
}

void readAll(const std::filesystem::path& file, const util::Descriptor& in,
             const std::function<void(std::string_view)>& sink) {
    std::array<char, kCopyBlock> block;
    while (true) {
        const ssize_t count = ::read(in.get(), block.data(), block.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            failToRead(file, "fails with " + std::generic_category().message(errno));
        if (count == 0)
            return;
        sink({block.data(), static_cast<std::size_t>(count)});
    }
}

}  // namespace

NewFile::NewFile(std::filesystem::path file) : file_(std::move(file)) {
    std::string problem;
    out_ = util::openPrivateFile(file_, O_EXCL, problem);
    if (!out_.isOpen())
        throw std::runtime_error(file_.string() + " cannot be written: it " + problem);
}

void NewFile::fail() const {
    throw std::runtime_error(file_.string() +
                             " cannot be written: " + std::generic_category().message(errno));
}

void NewFile::write(std::string_view octets) {
    while (!octets.empty()) {
        const ssize_t count = ::write(out_.get(), octets.data(), octets.size());
        if (count < 0 && errno != EINTR)
            fail();
        if (count > 0)
            octets.remove_prefix(static_cast<std::size_t>(count));
    }
}

void NewFile::sync() {
    if (::fsync(out_.get()) != 0)
        fail();
}

CopyResult copyFile(const std::filesystem::path& from, const std::filesystem::path& to) {
    const util::Descriptor in = openToRead(from);
    if (!in.isOpen())
        return CopyResult::IsMissing;
    NewFile out(to);
    readAll(from, in, [&out](std::string_view octets) { out.write(octets); });
    return CopyResult::Done;
}

Measure measureOf(const std::filesystem::path& file) {
    const util::Descriptor in = openToRead(file);
    if (!in.isOpen())
        failToRead(file, "does not exist");
    Measure measure;
    Checksum checksum;
    readAll(file, in, [&](std::string_view octets) {
        checksum.add(octets);
        measure.bytes += octets.size();
    });
    measure.sha256 = checksum.end();
    return measure;
}

void syncFolder(const std::filesystem::path& folder) {
    const util::Descriptor open(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!open.isOpen() || ::fsync(open.get()) != 0)
        throw std::runtime_error("the folder " + folder.string() +
                                 " cannot be written: " + std::generic_category().message(errno));
}

}  // namespace kelp::state
