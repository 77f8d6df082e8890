#include "state/archive_file.h"

#include <fcntl.h>
#include <kelp/util/file_trust.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "state/archive_writer.h"
#include "state/file_copy.h"

namespace kelp::state {

namespace {

namespace fs = std::filesystem;

constexpr const char* kArchiveName = "archive";
constexpr const char* kClaimName = "claim";

[[noreturn]] void failToWrite(const fs::path& file, const std::string& why) {
    throw std::runtime_error(file.string() + " cannot be written: " + why);
}

/// Return 0, or the number of the error.
int renameTo(const fs::path& from, const fs::path& to, Existing existing) {
    if (existing == Existing::IsRefused) {
        if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
            return 0;
        // a network file system may not know this kind of rename; the name was free just now
        if (errno != EINVAL && errno != ENOSYS)
            return errno;
    }
    return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

std::string reason(int error) {
    return std::generic_category().message(error);
}

}  // namespace

ArchiveFile::ArchiveFile(const fs::path& file, Existing existing)
    : file_(util::inRealFolder(fs::absolute(file))), existing_(existing) {
    if (!file_.has_filename())
        failToWrite(file, "it is a folder");
    requirePlace();
    folder_ = file_.parent_path() / ("." + file_.filename().string() + ".part");
    claimFolder();
}

ArchiveFile::~ArchiveFile() {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

void ArchiveFile::requirePlace() const {
    struct stat status {};
    if (::lstat(file_.c_str(), &status) == 0) {
        if (!S_ISREG(status.st_mode))
            failToWrite(file_, "it is not a regular file");
        if (existing_ == Existing::IsRefused)
            failToWrite(file_, "it exists already (--replace replaces it)");
    }
    if (const std::string problem = util::problemOfTrust(file_); !problem.empty())
        failToWrite(file_, "it " + problem);
}

void ArchiveFile::claimFolder() {
    if (::mkdir(folder_.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        failToWrite(file_, reason(errno));
    const util::Descriptor folder(
        ::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!folder.isOpen() || ::fstat(folder.get(), &status) != 0)
        failToWrite(file_, folder_.string() + ": " + reason(errno));
    // somebody else's folder would be readable to them
    if (status.st_uid != ::geteuid())
        failToWrite(file_, folder_.string() + " belongs to another user");
    if (::fchmod(folder.get(), S_IRWXU) != 0)
        failToWrite(file_, reason(errno));
    // a file, because a network file system cannot lock a folder
    claim_ = util::Descriptor(::openat(
        folder.get(), kClaimName, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!claim_.isOpen())
        failToWrite(file_, reason(errno));
    if (::flock(claim_.get(), LOCK_EX | LOCK_NB) != 0)
        failToWrite(file_, "another process is writing it");
    // the files of a process that was killed
    for (const fs::directory_entry& each : fs::directory_iterator(folder_)) {
        if (each.path().filename() != kClaimName)
            fs::remove_all(each.path());
    }
}

fs::path ArchiveFile::placeFor(const std::string& name) const {
    std::string flat = name;
    std::replace(flat.begin(), flat.end(), '/', '+');
    return folder_ / ("file-" + flat);
}

void ArchiveFile::add(const std::string& name, const fs::path& origin) {
    const Measure measure = measureOf(placeFor(name));
    manifest_.files.push_back({name, measure.bytes, measure.sha256, origin.string()});
}

void ArchiveFile::addText(const std::string& name, const std::string& content) {
    {
        NewFile out(placeFor(name));
        out.write(content);
    }
    add(name, "");
}

Manifest ArchiveFile::publish(const std::string& kind) {
    Manifest manifest = newManifest(kind);
    manifest.files = std::move(manifest_.files);
    manifest.leftOut = std::move(manifest_.leftOut);
    const fs::path part = folder_ / kArchiveName;
    const util::Descriptor out(
        ::open(part.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!out.isOpen() || ::fchmod(out.get(), S_IRUSR | S_IWUSR) != 0)
        failToWrite(file_, reason(errno));
    ArchiveWriter writer(out.get());
    writer.addText(kManifestName, textOf(manifest));
    for (const ManifestFile& each : manifest.files)
        writer.addFile(each.name, placeFor(each.name), each.bytes);
    writer.close();
    if (::fsync(out.get()) != 0)
        failToWrite(file_, reason(errno));
    requirePlace();
    if (const int error = renameTo(part, file_, existing_); error != 0)
        failToWrite(file_, reason(error));
    syncFolder(file_.parent_path());
    return manifest;
}

}  // namespace kelp::state
