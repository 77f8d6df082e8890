#include <kelp/users/user_watch.h>
#include <kelp/util/trace_log.h>
#include <sys/stat.h>

#include <stdexcept>

namespace kelp::users {

namespace {

/// Shorter than the interval between two looks.
constexpr std::chrono::milliseconds kPatience{100};
/// Failed looks before the failure is traced, because kelpctl also locks the file briefly.
constexpr int kFailuresTraced = 3;

/// The watch belongs to the security manager, whose name its lines bear.
void trace(const std::string& text) {
    util::traceFrom("corbasecuritymgr", "[CorbaSecurityMgr::Watch] " + text);
}

}  // namespace

bool UserWatch::look(const std::filesystem::path& file, bool again) {
    try {
        if (const Identity identity = identityOf(file); !database_ || identity != identity_) {
            open(file);
            identity_ = identity;
        }
        // read before the accounts: a change in between is found with the next look
        const std::int64_t version = database_->dataVersion();
        if (again || version != version_) {
            found_(database_->list());
            version_ = version;
        }
        recovered();
        return true;
    } catch (const std::exception& failure) {
        database_.reset();
        failed(failure.what());
    }
    return false;
}

UserWatch::Identity UserWatch::identityOf(const std::filesystem::path& file) {
    struct stat status = {};
    if (::stat(file.c_str(), &status) != 0)
        throw std::runtime_error("user database " + file.string() + " does not exist");
    return {status.st_dev, status.st_ino};
}

void UserWatch::open(const std::filesystem::path& file) {
    version_.reset();
    database_ = std::make_unique<UserDatabase>(file, UserDatabase::Missing::IsAnError);
    database_->setPatience(kPatience);
}

void UserWatch::failed(const std::string& why) {
    if (++failures_ < kFailuresTraced || why == traced_)
        return;
    traced_ = why;
    trace(why + "; until it can be read nobody can log in");
}

void UserWatch::recovered() {
    failures_ = 0;
    if (traced_.empty())
        return;
    traced_.clear();
    trace("the user database can be read again");
}

}  // namespace kelp::users
