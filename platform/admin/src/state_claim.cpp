#include <kelp/admin/state_claim.h>
#include <kelp/util/private_file.h>
#include <sys/file.h>

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace kelp::admin {

StateClaim::StateClaim(const std::filesystem::path& folder) {
    const std::filesystem::path file = folder / "admin.lock";
    std::string problem;
    lock_ = util::openPrivateFile(file, 0, problem);
    if (!lock_.isOpen())
        throw std::runtime_error("cannot lock " + file.string() + ": it " + problem);
    if (::flock(lock_.get(), LOCK_EX | LOCK_NB) == 0)
        return;
    if (errno == EWOULDBLOCK)
        throw std::runtime_error("another kelpd runs with the state directory " + folder.string());
    throw std::runtime_error("cannot lock " + file.string() + ": " +
                             std::generic_category().message(errno));
}

}  // namespace kelp::admin
