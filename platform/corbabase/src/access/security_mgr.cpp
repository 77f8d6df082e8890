#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/audit_trail.h>
#include <kelp/corbabase/lazy_instance.h>
#include <kelp/corbabase/security_mgr.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/request.h>
#include <kelp/users/oss_networks.h>
#include <kelp/users/subject_name.h>
#include <kelp/users/user_database.h>
#include <kelp/util/mutex.h>
#include <kelp/util/now_utc.h>

#include <chrono>
#include <exception>
#include <limits>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>

#include "access/account_watch.h"
#include "access/live_log_ins.h"
#include "access/log_in_throttle.h"
#include "access/session_name_parts.h"

namespace NS_CORBA {

namespace {

using kelp::users::OssNetworks;
using kelp::users::UserAccount;
using kelp::users::UserDatabase;
using kelp::util::LockRank;
using kelp::util::MutexLock;

constexpr const char* kFile = "corbasecuritymgr";
constexpr int kUnknownUser = -1;

constinit LazyInstance<CorbaSecurityMgr> theSecurityMgr;

void traceUnusable(const char* operation, const std::exception& failure) {
    tracePoint(kFile);
    TaTrace("[CorbaSecurityMgr::%s] %s", operation, failure.what());
}

int userNumber(std::int64_t id) {
    return id > 0 && id <= std::numeric_limits<int>::max() ? static_cast<int>(id) : kUnknownUser;
}

LogInThrottle::Limits configuredLimits() {
    const NS_BUNDLEMGR1::ConfigStore& config = NS_BUNDLEMGR1::ConfigStore::instance();
    return {static_cast<int>(config.integer("security.lockout_failures")),
            std::chrono::seconds(config.integer("security.lockout_s"))};
}

bool mayCallFrom(const UserAccount& account, const kelp::util::PeerAddress& peer) {
    OssNetworks networks;
    std::string whyNot;
    if (account.networks.empty())
        return true;
    if (!networks.parse(account.networks, whyNot))
        throw std::runtime_error("the networks of user \"" + account.name +
                                 "\" are unreadable: " + whyNot);
    return networks.contains(peer);
}

/// Return the normalised subject of the caller's certificate; empty when there is none.
std::string callersSubject() {
    const std::string subject = kelp::orb::currentPeerSubject();
    std::string whyNot;
    return subject.empty() ? subject : kelp::users::normalisedSubject(subject, whyNot).value_or("");
}

/// Return 0, or the code that refuses a user who knows the password.
unsigned long refusalOf(const UserAccount& account, const kelp::util::PeerAddress& peer,
                        const std::string& subject) {
    if (!account.enabled)
        return kUserDisabled;
    if (account.isExpired(kelp::util::nowUtc()))
        return kUserExpired;
    if (!mayCallFrom(account, peer))
        return kAddressNotAllowed;
    return account.allowsCertificate(subject) ? 0 : kCertificateNotAllowed;
}

const char* reasonOf(unsigned long code) {
    switch (code) {
        case kUserDisabled:
            return "the account is disabled";
        case kUserExpired:
            return "the account has expired";
        case kCertificateNotAllowed:
            return "the user may not log in with this certificate, or without one";
        default:
            return "the user may not log in from this address";
    }
}

/// Return the outcome of a log-in as written to the security log.
const char* outcomeOf(unsigned long code) {
    switch (code) {
        case 0:
            return kOutcomeOk;
        case kWrongPassword:
            return "wrong password";
        case kUserDisabled:
            return "disabled";
        case kUserExpired:
            return "expired";
        case kAddressNotAllowed:
            return "address not allowed";
        case kCertificateNotAllowed:
            return "certificate not allowed";
        case kUserLockedOut:
            return "locked out";
        case kTooManyAccountSessions:
            return "too many sessions of the account";
        case kTooManyAddressSessions:
            return "too many sessions from the address";
        case kOverlongLogIn:
            return "overlong";
        default:
            return "user database unusable";
    }
}

void record(kelp::oplog::SecurityEvent event, const std::string& user, const std::string& hostInfo,
            const char* outcome, const std::string& detail) {
    kelp::oplog::SecurityRecord told;
    told.event = event;
    told.user = user;
    told.nmsAddress = hostInfo;
    told.peer = kelp::orb::currentPeer().withPort;
    told.outcome = outcome;
    told.detail = detail;
    AuditTrail::Instance().Write(std::move(told));
}

/// Add the caller's certificate to the detail of a log-in's record.
std::string withCertificate(const std::string& detail) {
    const std::string subject = callersSubject();
    if (subject.empty())
        return detail;
    return detail + (detail.empty() ? "" : ", ") + "certificate " + subject;
}

/// Return the address as messages show it.
std::string shown(const LoginOrigin& origin) {
    return origin.address.empty() ? "this process" : origin.address;
}

/// The names known to belong to accounts from attempts to log in. Its size is bounded by the number
/// of accounts.
class NamesSeen {
  public:
    void note(const std::string& name, bool isAccount) KELP_EXCLUDES(mutex_) {
        const MutexLock guard(mutex_);
        if (isAccount)
            names_.insert(name);
        else
            names_.erase(name);
    }
    bool has(const std::string& name) const KELP_EXCLUDES(mutex_) {
        const MutexLock guard(mutex_);
        return names_.contains(name);
    }

  private:
    mutable kelp::util::Mutex mutex_{LockRank::Leaf, "NamesSeen::mutex_"};
    std::set<std::string> names_ KELP_GUARDED_BY(mutex_);
};

/// The texts of one attempt to log in; borrowed for the call.
struct Attempt {
    const std::string& hostInfo;
    const std::string& user;
    const std::string& password;
};

}  // namespace

struct CorbaSecurityMgr::State {
    NS_CORBA::LiveLogIns live;
    LogInThrottle throttle;
    AccountWatch watch{live, throttle};
    NamesSeen accounts;

    /// Like judge(); records a refusal in the security log.
    unsigned long check(const char* operation, const Attempt& attempt, UserAccount& account);
    unsigned long judge(const char* operation, const Attempt& attempt, UserAccount& account,
                        std::optional<std::chrono::seconds>& lockout);
    /// Count a wrong password. Return the time for which the user is now locked out at this
    /// address, if at all.
    std::optional<std::chrono::seconds> countFailure(const char* operation, const Attempt& attempt,
                                                     const LoginOrigin& origin,
                                                     UserDatabase& database);
};

unsigned long CorbaSecurityMgr::State::check(const char* operation, const Attempt& attempt,
                                             UserAccount& account) {
    if (attempt.user.size() > kLogInTextBytesMax || attempt.password.size() > kLogInTextBytesMax)
        return kOverlongLogIn;
    std::optional<std::chrono::seconds> lockout;
    const unsigned long code = judge(operation, attempt, account, lockout);
    if (code == 0)
        return 0;
    const bool isKnown = code != kUserDatabaseUnusable && accounts.has(attempt.user);
    // a text that is not a user's name may be a password typed in the wrong field
    const std::string user = isKnown ? attempt.user : std::string();
    record(kelp::oplog::SecurityEvent::LogIn, user, attempt.hostInfo, outcomeOf(code),
           withCertificate(isKnown ? "" : "no known user"));
    if (lockout)
        record(kelp::oplog::SecurityEvent::LockOut, user, attempt.hostInfo,
               outcomeOf(kUserLockedOut), "for " + std::to_string(lockout->count()) + " s");
    return code;
}

/// Check a password against the database. The database is opened each time, so that a damaged,
/// locked or replaced file is usable again as soon as the file is.
unsigned long CorbaSecurityMgr::State::judge(const char* operation, const Attempt& attempt,
                                             UserAccount& account,
                                             std::optional<std::chrono::seconds>& lockout) {
    const kelp::util::PeerAddress peer = kelp::orb::currentPeer();
    const LoginOrigin origin = originOf(peer);
    if (throttle.refuses(attempt.user, origin, std::chrono::steady_clock::now())) {
        tracePoint(kFile);
        TaDebugWithPara(
            1, "[CorbaSecurityMgr::%s] A log-in from %s is refused unchecked after wrong passwords",
            operation, shown(origin).c_str());
        return kUserLockedOut;
    }
    try {
        UserDatabase database(kelp::users::userDatabaseFile(), UserDatabase::Missing::IsAnError);
        std::optional<UserAccount> found = database.authenticate(attempt.user, attempt.password,
                                                                 kelp::users::configuredHashCost());
        if (!found) {
            lockout = countFailure(operation, attempt, origin, database);
            return kWrongPassword;
        }
        accounts.note(attempt.user, true);
        if (const unsigned long code = refusalOf(*found, peer, callersSubject()); code != 0) {
            tracePoint(kFile);
            TaDebugWithPara(1, "[CorbaSecurityMgr::%s] User \"%s\" from %s is refused: %s",
                            operation, found->name.c_str(), shown(origin).c_str(), reasonOf(code));
            return code;
        }
        throttle.succeeded(attempt.user, origin, std::chrono::steady_clock::now());
        account = std::move(*found);
        return 0;
    } catch (const std::exception& failure) {
        traceUnusable(operation, failure);
    }
    return kUserDatabaseUnusable;
}

std::optional<std::chrono::seconds> CorbaSecurityMgr::State::countFailure(const char* operation,
                                                                          const Attempt& attempt,
                                                                          const LoginOrigin& origin,
                                                                          UserDatabase& database) {
    const bool isKnown = database.find(attempt.user).has_value();
    accounts.note(attempt.user, isKnown);
    const std::optional<std::chrono::seconds> lockout =
        throttle.failed(attempt.user, origin, std::chrono::steady_clock::now(), configuredLimits());
    if (!lockout)
        return std::nullopt;
    const std::string name = isKnown ? "user \"" + attempt.user + "\"" : "an unknown user";
    tracePoint(kFile);
    TaTrace("[CorbaSecurityMgr::%s] Too many wrong passwords: %s is locked out at %s for %lld s",
            operation, name.c_str(), shown(origin).c_str(),
            static_cast<long long>(lockout->count()));
    return lockout;
}

CorbaSecurityMgr::CorbaSecurityMgr() : state_(std::make_unique<State>()) {}
CorbaSecurityMgr::~CorbaSecurityMgr() = default;

CorbaSecurityMgr* CorbaSecurityMgr::Instance() {
    return theSecurityMgr.get([] { return new CorbaSecurityMgr; });
}

void CorbaSecurityMgr::Destroy() {
    theSecurityMgr.destroy([](CorbaSecurityMgr* instance) { delete instance; });
}

bool CorbaSecurityMgr::Init() {
    const FuncGuardTrace trace("CorbaSecurityMgr::Init");
    try {
        UserDatabase database(kelp::users::userDatabaseFile());
        if (database.list().empty()) {
            tracePoint(kFile);
            TaTrace(
                "[CorbaSecurityMgr::Init] There is no NMS user yet; make the first with: kelpctl "
                "user add "
                "NAME");
        }
        state_->watch.start();
        return true;
    } catch (const std::exception& failure) {
        traceUnusable("Init", failure);
    }
    return false;
}

void CorbaSecurityMgr::ExitThread() {
    state_->watch.stop();
}

unsigned long CorbaSecurityMgr::Admit(const std::string& hostInfo, const std::string& user,
                                      const std::string& password, Admission& admission) {
    return Admit("Login", hostInfo, user, password, admission);
}

unsigned long CorbaSecurityMgr::Admit(const char* operation, const std::string& hostInfo,
                                      const std::string& user, const std::string& password,
                                      Admission& admission) {
    UserAccount account;
    if (const unsigned long code = state_->check(operation, {hostInfo, user, password}, account);
        code != 0)
        return code;
    admission.hostInfo_ = hostInfo;
    admission.user_ = user;
    admission.account_ = std::move(account);
    return 0;
}

unsigned long CorbaSecurityMgr::StillAdmits(const Admission& admission) {
    const auto codeNow = [&admission]() -> unsigned long {
        try {
            UserDatabase database(kelp::users::userDatabaseFile(),
                                  UserDatabase::Missing::IsAnError);
            const std::optional<UserAccount> account = database.find(admission.account_.name);
            if (!account || account->id != admission.account_.id ||
                account->passwordNumber != admission.account_.passwordNumber)
                return kWrongPassword;
            return refusalOf(*account, kelp::orb::currentPeer(), callersSubject());
        } catch (const std::exception& failure) {
            traceUnusable("Login", failure);
        }
        return kUserDatabaseUnusable;
    };
    const unsigned long code = codeNow();
    if (code != 0)
        record(kelp::oplog::SecurityEvent::LogIn, admission.user_, admission.hostInfo_,
               outcomeOf(code), "the account was changed meanwhile");
    return code;
}

void CorbaSecurityMgr::Enter(const Admission& admission) {
    record(kelp::oplog::SecurityEvent::LogIn, admission.user_, admission.hostInfo_, kOutcomeOk,
           withCertificate(""));
    state_->live.enter({admission.user_, admission.hostInfo_}, admission.account_,
                       kelp::orb::currentPeer().text, callersSubject());
}

void CorbaSecurityMgr::Renew(const Admission& admission) {
    record(kelp::oplog::SecurityEvent::LogIn, admission.user_, admission.hostInfo_, kOutcomeOk,
           withCertificate("takes its session up again"));
    state_->live.renew({admission.user_, admission.hostInfo_}, admission.account_,
                       kelp::orb::currentPeer().text, callersSubject());
}

unsigned long CorbaSecurityMgr::Login(const std::string& hostInfo, const std::string& user,
                                      const std::string& password) {
    Admission admission;
    const unsigned long code = Admit("Login", hostInfo, user, password, admission);
    if (code == 0)
        Enter(admission);
    return code;
}

unsigned long CorbaSecurityMgr::checkLogin(const std::string& hostInfo, const std::string& user,
                                           const std::string& password) {
    Admission admission;
    const unsigned long code = Admit("checkLogin", hostInfo, user, password, admission);
    if (code == 0)
        Renew(admission);
    return code;
}

unsigned long CorbaSecurityMgr::CheckRoom(const std::string& hostInfo, const std::string& user) {
    const NS_BUNDLEMGR1::ConfigStore& config = NS_BUNDLEMGR1::ConfigStore::instance();
    const LiveLogIns::Quotas quotas{
        static_cast<std::size_t>(config.integer("session.per_account_max")),
        static_cast<std::size_t>(config.integer("session.per_address_max"))};
    unsigned long code = 0;
    switch (state_->live.exceededBy({user, hostInfo}, kelp::orb::currentPeer().text, quotas)) {
        case LiveLogIns::Exceeded::Nothing:
            return 0;
        case LiveLogIns::Exceeded::Account:
            code = kTooManyAccountSessions;
            break;
        case LiveLogIns::Exceeded::Address:
            code = kTooManyAddressSessions;
            break;
    }
    record(kelp::oplog::SecurityEvent::LogIn, user, hostInfo, outcomeOf(code), "");
    return code;
}

unsigned long CorbaSecurityMgr::CheckLengths(std::string_view user, std::string_view password) {
    if (user.size() <= kLogInTextBytesMax && password.size() <= kLogInTextBytesMax)
        return 0;
    record(kelp::oplog::SecurityEvent::LogIn, "", "", outcomeOf(kOverlongLogIn),
           user.size() > kLogInTextBytesMax ? "user name" : "password");
    return kOverlongLogIn;
}

void CorbaSecurityMgr::Logout(const std::string& hostInfo, const std::string& user) {
    const auto leave = [&] { return state_->live.leave({user, hostInfo}); };
    bool hasLeft = false;
    try {
        hasLeft = leave();
    } catch (const std::bad_alloc&) {
        hasLeft = leave();  // a log-in left here would count against the account's quotas
    }
    if (!hasLeft)
        return;
    try {
        record(kelp::oplog::SecurityEvent::LogOut, user, hostInfo, kOutcomeOk, "");
    } catch (const std::bad_alloc& failure) {
        traceUnusable("Logout", failure);  // the log-in has ended nevertheless
    }
}

int CorbaSecurityMgr::GetUserID(const std::string& sessionName) const {
    const std::string user(partsOfSessionName(sessionName).user);
    if (user.empty())
        return kUnknownUser;
    if (const std::optional<std::int64_t> id = state_->live.userId(user))
        return userNumber(*id);
    try {
        UserDatabase database(kelp::users::userDatabaseFile(), UserDatabase::Missing::IsAnError);
        const std::optional<UserAccount> account = database.find(user);
        return account ? userNumber(account->id) : kUnknownUser;
    } catch (const std::exception& failure) {
        traceUnusable("GetUserID", failure);
    }
    return kUnknownUser;
}

bool CorbaSecurityMgr::IsLoggedInFrom(const kelp::util::PeerAddress& peer) const {
    return state_->live.isFrom(peer.text);
}

std::vector<LockOut> CorbaSecurityMgr::LockOuts() const {
    return state_->throttle.lockOuts(std::chrono::steady_clock::now());
}

std::size_t CorbaSecurityMgr::LiveLogins(const std::string& hostInfo,
                                         const std::string& user) const {
    return state_->live.count({user, hostInfo});
}

}  // namespace NS_CORBA
