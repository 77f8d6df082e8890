#include "state/replacement.h"

#include <kelp/util/file_trust.h>
#include <kelp/util/private_file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <stdexcept>
#include <string>
#include <system_error>

#include "state/file_copy.h"

namespace kelp::state {

namespace {

namespace fs = std::filesystem;

constexpr const char* kNew = "restore.new";
/// The previous files while they are being moved there, and when all are there. New files take
/// their places only after that, so undo() knows which files are new.
constexpr const char* kMoving = "restore.moving";
constexpr const char* kPrevious = "restore.previous";
/// What the disk must have beyond the files.
constexpr std::uint64_t kSpareBytes = 8u << 20;

fs::path folderOf(const fs::path& file) {
    return util::inRealFolder(fs::absolute(file)).parent_path();
}

/// The folders of the state's files, each once.
std::vector<fs::path> foldersOf(const StateLayout& layout) {
    std::vector<fs::path> all;
    for (const fs::path& each : layout.places())
        all.push_back(folderOf(each));
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

bool isThere(const fs::path& path) {
    std::error_code error;
    return fs::exists(fs::symlink_status(path, error));
}

void makeFolder(const fs::path& folder) {
    if (const std::string problem = util::makePrivateFolder(folder); !problem.empty())
        throw std::runtime_error("the folder " + folder.string() + " cannot be made: " + problem);
}

/// Move every file in `from` to `to`.
void moveAll(const fs::path& from, const fs::path& to) {
    std::vector<fs::path> names;
    for (const fs::directory_entry& each : fs::directory_iterator(from))
        names.push_back(each.path().filename());
    for (const fs::path& each : names)
        fs::rename(from / each, to / each);
}

void removePresent(const StateLayout& layout) {
    for (const fs::path& each : layout.places())
        fs::remove_all(each);
}

/// Move the present files away. The folders with them get their last name when all are there.
void moveAway(const StateLayout& layout, const std::vector<fs::path>& folders) {
    for (const fs::path& each : folders)
        makeFolder(each / kMoving);
    for (const fs::path& each : layout.places()) {
        if (isThere(each))
            fs::rename(each, folderOf(each) / kMoving / each.filename());
    }
    for (const fs::path& each : folders) {
        syncFolder(each / kMoving);
        syncFolder(each);
    }
    for (const fs::path& each : folders) {
        fs::rename(each / kMoving, each / kPrevious);
        syncFolder(each);
    }
}

void moveIn(const std::vector<fs::path>& folders) {
    for (const fs::path& each : folders) {
        if (isThere(each / kNew)) {
            for (const fs::directory_entry& made : fs::directory_iterator(each / kNew)) {
                if (made.is_directory())
                    syncFolder(made.path());
            }
            moveAll(each / kNew, each);
        }
        syncFolder(each);
    }
}

void moveBack(const StateLayout& layout, const std::vector<fs::path>& folders) {
    const bool mayHaveNew = std::any_of(folders.begin(), folders.end(), [](const fs::path& each) {
        return isThere(each / kPrevious);
    });
    if (mayHaveNew)
        removePresent(layout);
    for (const fs::path& each : folders) {
        for (const char* const kept : {kMoving, kPrevious}) {
            if (!isThere(each / kept))
                continue;
            moveAll(each / kept, each);
            syncFolder(each);
            fs::remove(each / kept);
        }
    }
}

std::string mib(std::uint64_t bytes) {
    return std::to_string((bytes >> 20) + 1) + " MiB";
}

}  // namespace

Replacement::Replacement(const StateLayout& layout) : layout_(layout), folders_(foldersOf(layout)) {
    for (const fs::path& each : folders_) {
        for (const char* const kept : {kMoving, kPrevious}) {
            if (isThere(each / kept))
                throw std::runtime_error(
                    "the files from before an earlier restore are still in " +
                    (each / kept).string() +
                    ": put them back with \"kelpctl restore --undo\", or remove that folder if "
                    "they are no longer needed");
        }
    }
    for (const fs::path& each : layout.places()) {
        if (std::error_code error; fs::is_symlink(fs::symlink_status(each, error)))
            throw std::runtime_error(each.string() + " is a symbolic link, which is not followed");
    }
    for (const fs::path& each : folders_) {
        if (const std::string problem =
                util::problemOfTrust(each, util::FileUse::Trusted, util::FinalLink::IsFollowed);
            !problem.empty())
            throw std::runtime_error(each.string() + " " + problem);
        fs::remove_all(each / kNew);
    }
}

Replacement::~Replacement() {
    std::error_code ignored;
    for (const fs::path& each : folders_)
        fs::remove_all(each / kNew, ignored);
}

fs::path Replacement::placeFor(const StateFile& file) const {
    const bool isList = file.path.parent_path() == layout_.savedLists;
    const fs::path top = isList ? layout_.savedLists : file.path;
    fs::path folder = folderOf(top) / kNew;
    if (isList)
        folder /= layout_.savedLists.filename();
    makeFolder(folder);
    return folder / file.path.filename();
}

void Replacement::requireRoom(const std::vector<Need>& needs) const {
    std::map<dev_t, std::uint64_t> onDisk;
    std::map<dev_t, fs::path> oneFolder;
    for (const Need& each : needs) {
        const fs::path folder = placeFor(each.file).parent_path();
        struct stat status {};
        if (::stat(folder.c_str(), &status) != 0)
            throw std::runtime_error(folder.string() + ": " +
                                     std::generic_category().message(errno));
        onDisk[status.st_dev] += each.bytes;
        oneFolder[status.st_dev] = folder;
    }
    for (const auto& [device, bytes] : onDisk) {
        struct statvfs disk {};
        const fs::path& folder = oneFolder[device];
        if (::statvfs(folder.c_str(), &disk) != 0)
            throw std::runtime_error(folder.string() + ": " +
                                     std::generic_category().message(errno));
        const std::uint64_t free = std::uint64_t{disk.f_bavail} * disk.f_frsize;
        if (bytes + kSpareBytes > free)
            throw std::runtime_error("the files need " + mib(bytes + kSpareBytes) +
                                     ", but the disk of " + folder.parent_path().string() +
                                     " has only " + mib(free));
    }
}

void Replacement::swapIn() {
    try {
        moveAway(layout_, folders_);
        moveIn(folders_);
    } catch (const std::exception& failure) {
        const std::string why = failure.what();
        moveBack(layout_, folders_);
        throw std::runtime_error("nothing was restored: " + why);
    }
}

void Replacement::forgetPrevious() {
    for (const fs::path& each : previous())
        fs::remove_all(each);
}

std::vector<fs::path> Replacement::previous() const {
    std::vector<fs::path> found;
    for (const fs::path& each : folders_) {
        if (isThere(each / kPrevious))
            found.push_back(each / kPrevious);
    }
    return found;
}

void Replacement::undo(const StateLayout& layout) {
    const std::vector<fs::path> folders = foldersOf(layout);
    if (std::none_of(folders.begin(), folders.end(), [](const fs::path& each) {
            return isThere(each / kPrevious) || isThere(each / kMoving);
        }))
        throw std::runtime_error("there are no files from before a restore in " +
                                 layout.folder.string());
    moveBack(layout, folders);
}

}  // namespace kelp::state
