#include "singleton.h"

#include <kelp/corbabase/security_mgr.h>
#include <kelp/corbabase/trace.h>
#include <kelp/corbabase/user_database.h>
#include <kelp/util/thread_context.h>
#include <kelp/util/trace_log.h>

#include <exception>
#include <limits>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

namespace NS_CORBA {

namespace {

constexpr const char* kFile = "corbasecuritymgr";
constexpr int kUnknownUser = -1;

std::atomic<CorbaSecurityMgr*> theInstance{nullptr};

const std::string kUserNameTag = "<USERNAME_TAG>";
const std::string kUserNameEndTag = "</USERNAME_TAG>";

void traceUnusable(const char* operation, const std::exception& failure) {
    GetTss()->Set(kFile, "unknown", __LINE__);
    TaTrace("[CorbaSecurityMgr::%s] %s", operation, failure.what());
}

int userNumber(std::int64_t id) {
    return id > 0 && id <= std::numeric_limits<int>::max() ? static_cast<int>(id) : kUnknownUser;
}

/// Checks a password against the database as it is now: opened each time, so that a file that was damaged,
/// locked or replaced is good again as soon as it is.
unsigned long checked(const char* operation, const std::string& user, const std::string& password,
                      UserAccount& account) {
    try {
        UserDatabase database(userDatabaseFile(), UserDatabase::Missing::IsAnError);
        std::optional<UserAccount> found = database.authenticate(user, password, configuredHashCost());
        if (!found)
            return kWrongPassword;
        if (!found->enabled)
            return kUserDisabled;
        account = std::move(*found);
        return 0;
    } catch (const std::exception& failure) {
        traceUnusable(operation, failure);
    }
    return kUserDatabaseUnusable;
}

}  // namespace

struct CorbaSecurityMgr::State {
    struct LiveLogin {
        std::int64_t userId = 0;
        std::size_t count = 0;
    };

    mutable std::mutex mutex;                                       // never held while a password is checked
    std::map<std::pair<std::string, std::string>, LiveLogin> live;  // by user and host info; guarded by mutex
};

CorbaSecurityMgr::CorbaSecurityMgr() : state_(std::make_unique<State>()) {}
CorbaSecurityMgr::~CorbaSecurityMgr() = default;

CorbaSecurityMgr* CorbaSecurityMgr::Instance() {
    return lazyInstance(theInstance, [] { return new CorbaSecurityMgr; });
}

void CorbaSecurityMgr::Destroy() {
    dropInstance(theInstance, [](CorbaSecurityMgr* instance) { delete instance; });
}

bool CorbaSecurityMgr::Init() {
    const FuncGuardTrace trace("CorbaSecurityMgr::Init");
    try {
        UserDatabase database(userDatabaseFile());
        if (database.list().empty()) {
            GetTss()->Set(kFile, "unknown", __LINE__);
            TaTrace(
                "[CorbaSecurityMgr::Init] There is no NMS user yet; make the first with: kelpctl user add "
                "NAME");
        }
        return true;
    } catch (const std::exception& failure) {
        traceUnusable("Init", failure);
    }
    return false;
}

void CorbaSecurityMgr::ExitThread() {}

unsigned long CorbaSecurityMgr::Login(const std::string& hostInfo, const std::string& user,
                                      const std::string& password) {
    UserAccount account;
    if (const unsigned long code = checked("Login", user, password, account); code != 0)
        return code;
    const std::lock_guard guard(state_->mutex);
    State::LiveLogin& login = state_->live[{user, hostInfo}];
    login.userId = account.id;
    ++login.count;
    return 0;
}

unsigned long CorbaSecurityMgr::checkLogin(const std::string&, const std::string& user,
                                           const std::string& password) {
    UserAccount account;
    return checked("checkLogin", user, password, account);
}

void CorbaSecurityMgr::Logout(const std::string& hostInfo, const std::string& user) {
    const std::lock_guard guard(state_->mutex);
    const auto found = state_->live.find({user, hostInfo});
    if (found != state_->live.end() && --found->second.count == 0)
        state_->live.erase(found);
}

int CorbaSecurityMgr::GetUserID(const std::string& sessionName) const {
    const std::string user = NS_UTIL::SelfUtilCommon::Instance()->GetValByTag(
        sessionName, kUserNameTag, kUserNameEndTag, static_cast<int>(kUserNameTag.size()));
    if (user.empty())
        return kUnknownUser;
    {
        const std::lock_guard guard(state_->mutex);
        const auto found = state_->live.lower_bound({user, std::string()});
        if (found != state_->live.end() && found->first.first == user)
            return userNumber(found->second.userId);
    }
    try {
        UserDatabase database(userDatabaseFile(), UserDatabase::Missing::IsAnError);
        const std::optional<UserAccount> account = database.find(user);
        return account ? userNumber(account->id) : kUnknownUser;
    } catch (const std::exception& failure) {
        traceUnusable("GetUserID", failure);
    }
    return kUnknownUser;
}

std::size_t CorbaSecurityMgr::LiveLogins(const std::string& hostInfo, const std::string& user) const {
    const std::lock_guard guard(state_->mutex);
    const auto found = state_->live.find({user, hostInfo});
    return found != state_->live.end() ? found->second.count : 0;
}

}  // namespace NS_CORBA
