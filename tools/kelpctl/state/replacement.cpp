#include "state/replacement.h"

#include <kelp/admin/restore_marks.h>
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

/// How far a restore is. The state directory has a file of that name; a rename changes it.
class Mark {
  public:
    explicit Mark(const StateLayout& layout) : folder_(layout.folder) {
        for (const char* const each :
             {admin::kRestoreMovesAway, admin::kRestoreMovesIn, admin::kRestoreKept}) {
            if (isThere(folder_ / each))
                name_ = each;
        }
    }

    bool isSet() const { return !name_.empty(); }
    bool is(const char* name) const { return name_ == name; }
    fs::path file() const { return folder_ / name_; }
    void set(const char* name) {
        if (isSet())
            fs::rename(file(), folder_ / name);
        else
            NewFile(folder_ / name).sync();
        name_ = name;
        syncFolder(folder_);
    }
    void clear() {
        fs::remove(file());
        name_.clear();
        syncFolder(folder_);
    }

  private:
    const fs::path folder_;
    std::string name_;
};

void moveAway(const StateLayout& layout, const std::vector<fs::path>& folders) {
    for (const fs::path& each : folders)
        makeFolder(each / kPrevious);
    for (const fs::path& each : layout.places()) {
        if (isThere(each))
            fs::rename(each, folderOf(each) / kPrevious / each.filename());
    }
    for (const fs::path& each : folders) {
        syncFolder(each / kPrevious);
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

/// Put the previous files back. When it is interrupted it can be repeated.
void moveBack(const StateLayout& layout, const std::vector<fs::path>& folders) {
    Mark mark(layout);
    if (!mark.is(admin::kRestoreMovesAway)) {
        // all previous files were moved away, so these are new
        for (const fs::path& each : layout.places())
            fs::remove_all(each);
        mark.set(admin::kRestoreMovesAway);
    }
    for (const fs::path& each : folders) {
        if (!isThere(each / kPrevious))
            continue;
        moveAll(each / kPrevious, each);
        syncFolder(each);
    }
    mark.clear();
    for (const fs::path& each : folders)
        fs::remove_all(each / kPrevious);
}

std::string mib(std::uint64_t bytes) {
    return std::to_string((bytes >> 20) + 1) + " MiB";
}

}  // namespace

Replacement::Replacement(const StateLayout& layout) : layout_(layout), folders_(foldersOf(layout)) {
    if (const Mark mark(layout); mark.is(admin::kRestoreKept))
        throw std::runtime_error(
            "the files from before an earlier restore are kept: put them back with \"kelpctl "
            "restore "
            "--undo\", or remove " +
            mark.file().string());
    else if (mark.isSet())
        throw std::runtime_error(
            "an earlier restore was interrupted: repair the state with \"kelpctl restore --undo\"");
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
        // without a mark nobody needs these any more
        fs::remove_all(each / kPrevious);
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
    Mark mark(layout_);
    mark.set(admin::kRestoreMovesAway);
    try {
        moveAway(layout_, folders_);
        mark.set(admin::kRestoreMovesIn);
        moveIn(folders_);
        mark.set(admin::kRestoreKept);
    } catch (const std::exception& failure) {
        const std::string why = failure.what();
        moveBack(layout_, folders_);
        throw std::runtime_error("nothing was restored: " + why);
    }
}

void Replacement::forgetPrevious() {
    Mark(layout_).clear();
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
    if (!Mark(layout).isSet())
        throw std::runtime_error("there are no files from before a restore in " +
                                 layout.folder.string());
    moveBack(layout, foldersOf(layout));
}

}  // namespace kelp::state
