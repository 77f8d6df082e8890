#include "state_claim.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace kelp::host {

StateClaim::StateClaim(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    const std::filesystem::path file = folder / "admin.lock";
    lock_ = util::Descriptor(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (lock_.isOpen() && ::flock(lock_.get(), LOCK_EX | LOCK_NB) == 0)
        return;
    if (errno == EWOULDBLOCK)
        throw std::runtime_error("another kelpd runs with the state directory " + folder.string());
    throw std::runtime_error("cannot lock " + file.string() + ": " + std::generic_category().message(errno));
}

}  // namespace kelp::host
