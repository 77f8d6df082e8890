#include "state/stopped_state.h"

#include <fcntl.h>
#include <kelp/util/private_file.h>
#include <sys/file.h>

#include <stdexcept>
#include <string>

namespace kelp::state {

namespace {

// The octets of a database file on which SQLite locks, see "File Locking And Concurrency" in its
// documentation. A connection in write-ahead mode has a shared lock as long as it is open.
constexpr off_t kFirstLocked = 0x40000000;
constexpr off_t kLockedOctets = 512;

[[noreturn]] void refuseWhileUsed(const std::string& why) {
    throw std::runtime_error("the state is in use, stop the host first: " + why);
}

}  // namespace

StoppedState::StoppedState(const StateLayout& layout) {
    try {
        claim_.emplace(layout.folder);
    } catch (const std::runtime_error& failure) {
        refuseWhileUsed(failure.what());
    }
    const std::string lock = layout.changeLog.string() + "-lock";
    std::string problem;
    changeLog_ = util::openPrivateFile(lock, 0, problem);
    if (!changeLog_.isOpen())
        throw std::runtime_error("cannot lock " + lock + ": it " + problem);
    if (::flock(changeLog_.get(), LOCK_EX | LOCK_NB) != 0)
        refuseWhileUsed(lock + " is locked");
    for (const StateFile& each : layout.files) {
        const std::optional<pid_t> user =
            each.isDatabase() ? processUsing(each.path) : std::nullopt;
        if (user)
            refuseWhileUsed("process " + std::to_string(*user) + " has " + each.path.string() +
                            " open");
    }
}

std::optional<pid_t> processUsing(const std::filesystem::path& database) {
    const util::Descriptor file(
        ::open(database.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = kFirstLocked;
    lock.l_len = kLockedOctets;
    if (!file.isOpen() || ::fcntl(file.get(), F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK)
        return std::nullopt;
    return lock.l_pid;
}

}  // namespace kelp::state
