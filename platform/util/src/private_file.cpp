#include <fcntl.h>
#include <kelp/util/file_trust.h>
#include <kelp/util/private_file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "error_text.h"

namespace kelp::util {

namespace {

namespace fs = std::filesystem;

constexpr mode_t kFileMode = S_IRUSR | S_IWUSR;
constexpr mode_t kFolderMode = S_IRWXU;
/// More than one, because somebody else may remove the file between two attempts to open it.
constexpr int kAttempts = 10;

fs::path folderOf(const fs::path& file) {
    return file.has_parent_path() ? file.parent_path() : fs::path(".");
}

/// If this process runs as root, give the new file to the owner of its folder. `made` may be opened
/// with O_PATH.
bool adoptOwner(const Descriptor& made, const fs::path& folder) {
    if (::geteuid() != 0)
        return true;
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0)
        return false;
    return status.st_uid == 0 ||
           ::fchownat(made.get(), "", status.st_uid, status.st_gid, AT_EMPTY_PATH) == 0;
}

/// Whether this process may use an existing file. The file is not opened: when a descriptor of a
/// file is closed, the process loses all locks (fcntl) that it has on that file, and SQLite relies
/// on them.
int problemOfUse(const fs::path& file, const struct stat& status) {
    if (S_ISDIR(status.st_mode))
        return EISDIR;
    return ::faccessat(AT_FDCWD, file.c_str(), R_OK | W_OK, AT_EACCESS) == 0 ? 0 : errno;
}

int makeOneFolder(const fs::path& folder) {
    if (::mkdir(folder.c_str(), kFolderMode) != 0)
        return errno == EEXIST ? 0 : errno;
    // through its descriptor, so that nobody can put a link in its place; O_PATH needs no
    // permission to read it
    const Descriptor made(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!made.isOpen() ||
        ::chmod(("/proc/self/fd/" + std::to_string(made.get())).c_str(), kFolderMode) != 0 ||
        !adoptOwner(made, folderOf(folder)))
        return errno;
    return 0;
}

}  // namespace

std::string makePrivateFolder(const fs::path& folder) {
    fs::path made;
    for (const fs::path& each : folder) {
        made /= each;
        std::error_code error;
        if (each.empty() || fs::is_directory(made, error))
            continue;
        if (const int problem = makeOneFolder(made); problem != 0)
            return errorText(problem);
        if (!fs::is_directory(made, error))
            return errorText(ENOTDIR);
    }
    return "";
}

Descriptor openPrivateFile(const fs::path& file, int flags, std::string& problem) {
    const int always = O_RDWR | O_NOFOLLOW | O_CLOEXEC | flags;
    problem = problemOfTrust(file);
    if (!problem.empty())
        return Descriptor();
    if (const std::string whyNot = makePrivateFolder(folderOf(file)); !whyNot.empty()) {
        problem = "cannot make its folder: " + whyNot;
        return Descriptor();
    }
    int error = 0;
    for (int i = 0; i < kAttempts; ++i) {
        Descriptor made(::open(file.c_str(), always | O_CREAT | O_EXCL, kFileMode));
        if (made.isOpen() && ::fchmod(made.get(), kFileMode) == 0 &&
            adoptOwner(made, folderOf(file)))
            return made;
        error = errno;
        if (made.isOpen() || error != EEXIST || (flags & O_EXCL) != 0)
            break;
        Descriptor opened(::open(file.c_str(), always));
        if (opened.isOpen()) {
            // the file may have been created after the first check
            problem = problemOfTrust(file);
            return problem.empty() ? std::move(opened) : Descriptor();
        }
        error = errno;
        if (error != ENOENT)
            break;
    }
    problem = "cannot be opened: " + errorText(error);
    return Descriptor();
}

std::string makePrivateFile(const fs::path& file) {
    std::string problem = problemOfTrust(file);
    struct stat status {};
    if (problem.empty() && ::lstat(file.c_str(), &status) == 0) {
        const int error = problemOfUse(file, status);
        return error == 0 ? "" : "cannot be opened: " + errorText(error);
    }
    // also when its folder cannot be searched, to say so
    const Descriptor made = openPrivateFile(file, 0, problem);
    return made.isOpen() ? "" : problem;
}

void requirePrivateFile(const fs::path& file) {
    if (const std::string problem = makePrivateFile(file); !problem.empty())
        throw std::runtime_error(file.string() + " " + problem);
}

}  // namespace kelp::util
