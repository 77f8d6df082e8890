#include "access/account_watch.h"

#include <kelp/bundlemgr/light_event.h>
#include <kelp/corbabase/trace.h>
#include <kelp/util/now_utc.h>
#include <kelp/util/thread_work.h>
#include <kelp/util/threads.h>

#include <chrono>
#include <utility>

namespace NS_CORBA {

namespace {

using kelp::users::UserAccount;
using kelp::util::MutexLock;
using kelp::util::MutexUnlock;

/// A session ends within 1 s of its user's account.
constexpr std::chrono::milliseconds kInterval{300};

NS_BUNDLEMGR1::LightEventData eventDataOf(const LiveLogIns::Key& login) {
    const std::size_t colon = login.hostInfo.rfind(':');
    const std::string port = colon == std::string::npos ? "" : login.hostInfo.substr(colon + 1);
    return {{{"IP", login.hostInfo.substr(0, colon)}, {"PORT", port}, {"USN", login.user}}};
}

}  // namespace

AccountWatch::AccountWatch(LiveLogIns& live, LogInThrottle& throttle)
    : live_(live),
      throttle_(throttle),
      users_([this](const std::vector<UserAccount>& accounts) { compare(accounts); }) {}

AccountWatch::~AccountWatch() {
    stop();
}

void AccountWatch::start() {
    const MutexLock control(control_);
    if (thread_.joinable())
        return;
    {
        const MutexLock guard(mutex_);
        stopping_ = false;
    }
    thread_ = kelp::util::startThread("security", [this] { run(); });
}

void AccountWatch::stop() {
    const MutexLock control(control_);
    {
        const MutexLock guard(mutex_);
        stopping_ = true;
        stop_.notify_all();
    }
    if (thread_.joinable())
        thread_.join();
}

void AccountWatch::run() {
    const std::filesystem::path file = kelp::users::userDatabaseFile();
    const MutexLock lock(mutex_);
    while (!stopping_) {
        {
            const MutexUnlock unlocked(mutex_);
            const kelp::util::ThreadWork work("checks the accounts", kelp::util::kHangsAfter);
            look(file);
        }
        const auto next = std::chrono::steady_clock::now() + kInterval;
        while (!stopping_ && std::chrono::steady_clock::now() < next)
            stop_.wait_until(mutex_, next);
    }
}

void AccountWatch::look(const std::filesystem::path& file) {
    try {
        users_.look(file, live_.takeEntered());
        tellInvalid();
    } catch (const std::exception& failure) {
        tracePoint("corbasecuritymgr");
        TaTrace("[CorbaSecurityMgr::Watch] %s", failure.what());
    }
}

void AccountWatch::compare(const std::vector<UserAccount>& accounts) {
    live_.compare(accounts);
    std::map<std::int64_t, std::int64_t> unlocks;
    for (const UserAccount& account : accounts) {
        unlocks[account.id] = account.unlocks;
        const auto before = unlocks_.find(account.id);
        if (before != unlocks_.end() && before->second != account.unlocks)
            throttle_.forget(account.name);
    }
    unlocks_ = std::move(unlocks);
}

void AccountWatch::tellInvalid() {
    for (const LiveLogIns::Key& login :
         live_.invalid(kelp::util::nowUtc(), std::chrono::steady_clock::now()))
        NS_BUNDLEMGR1::LightEventMgr::Instance()->Raise(NS_BUNDLEMGR1::kUserStateChangeEvent,
                                                        eventDataOf(login));
}

}  // namespace NS_CORBA
