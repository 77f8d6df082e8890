#include "access/live_log_ins.h"

#include <algorithm>
#include <new>

namespace NS_CORBA {

namespace {

using kelp::users::UserAccount;
using kelp::util::MutexLock;

constexpr std::chrono::milliseconds kFirstPause{300};
constexpr std::chrono::milliseconds kLongestPause{30000};
/// Maximum number of addresses of one log-in. An NMS with more of them has left the oldest.
constexpr std::size_t kAddressesMax = 8;

void note(std::vector<std::string>& addresses, const std::string& address) {
    if (address.empty())
        return;
    std::erase(addresses, address);
    addresses.push_back(address);
    if (addresses.size() > kAddressesMax)
        addresses.erase(addresses.begin());
}

}  // namespace

LiveLogIns::Login LiveLogIns::loginOf(const UserAccount& account) {
    Login login;
    login.userId = account.id;
    login.passwordNumber = account.passwordNumber;
    login.expiresUtc = account.expiresUtc;
    return login;
}

void LiveLogIns::admit(const Login& login) {
    auto each = login.addresses.begin();
    try {
        for (; each != login.addresses.end(); ++each)
            ++valid_[*each];
    } catch (const std::bad_alloc&) {
        // all or nothing
        while (each != login.addresses.begin())
            dismiss(*--each);
        throw;
    }
}

void LiveLogIns::dismiss(const std::string& address) {
    if (const auto found = valid_.find(address); --found->second == 0)
        valid_.erase(found);
}

void LiveLogIns::dismiss(const Login& login) {
    for (const std::string& address : login.addresses)
        dismiss(address);
}

void LiveLogIns::invalidate(Login& login) {
    if (login.isInvalid)
        return;
    dismiss(login);
    login.isInvalid = true;
}

LiveLogIns::Exceeded LiveLogIns::exceededBy(const Key& key, const std::string& address,
                                            const Quotas& quotas) const {
    const auto isFromThere = [&address](const Login& login) {
        return std::find(login.addresses.begin(), login.addresses.end(), address) !=
               login.addresses.end();
    };
    std::size_t ofAccount = 0;
    std::size_t fromAddress = 0;
    bool replacesOne = false;
    bool replacesOneFromThere = false;
    const MutexLock guard(mutex_);
    for (const auto& [each, logins] : live_) {
        const auto there =
            static_cast<std::size_t>(std::count_if(logins.begin(), logins.end(), isFromThere));
        if (each == key) {
            replacesOne = true;
            replacesOneFromThere = there > 0;
            continue;
        }
        ofAccount += each.user == key.user ? logins.size() : 0;
        fromAddress += there;
    }
    if (!replacesOne && ofAccount >= quotas.perAccount)
        return Exceeded::Account;
    if (!address.empty() && !replacesOneFromThere && fromAddress >= quotas.perAddress)
        return Exceeded::Address;
    return Exceeded::Nothing;
}

void LiveLogIns::enter(const Key& key, const UserAccount& account, const std::string& address,
                       const std::string& subject) {
    Login login = loginOf(account);
    note(login.addresses, address);
    login.subject = subject;
    const MutexLock guard(mutex_);
    admit(login);
    try {
        live_[key].push_back(login);
    } catch (const std::bad_alloc&) {
        // all or nothing
        dismiss(login);
        if (const auto found = live_.find(key); found != live_.end() && found->second.empty())
            live_.erase(found);
        throw;
    }
    entered_ = true;
}

void LiveLogIns::renew(const Key& key, const UserAccount& account, const std::string& address,
                       const std::string& subject) {
    const MutexLock guard(mutex_);
    const auto found = live_.find(key);
    if (found == live_.end())
        return;
    for (Login& login : found->second) {
        Login renewed = loginOf(account);
        renewed.addresses = login.addresses;
        note(renewed.addresses, address);
        renewed.subject = subject;
        admit(renewed);
        invalidate(login);
        login = std::move(renewed);
    }
    entered_ = true;
}

bool LiveLogIns::leave(const Key& key) {
    const MutexLock guard(mutex_);
    const auto found = live_.find(key);
    if (found == live_.end())
        return false;
    invalidate(found->second.front());
    found->second.pop_front();
    if (found->second.empty())
        live_.erase(found);
    return true;
}

std::size_t LiveLogIns::count(const Key& key) const {
    const MutexLock guard(mutex_);
    const auto found = live_.find(key);
    return found != live_.end() ? found->second.size() : 0;
}

bool LiveLogIns::isFrom(const std::string& address) const {
    const MutexLock guard(mutex_);
    return valid_.find(address) != valid_.end();
}

std::optional<std::int64_t> LiveLogIns::userId(const std::string& user) const {
    const MutexLock guard(mutex_);
    const auto found = live_.lower_bound({user, std::string()});
    if (found == live_.end() || found->first.user != user)
        return std::nullopt;
    return found->second.front().userId;
}

bool LiveLogIns::takeEntered() {
    const MutexLock guard(mutex_);
    return std::exchange(entered_, false);
}

void LiveLogIns::compare(const std::vector<UserAccount>& accounts) {
    std::map<std::string, const UserAccount*> byName;
    for (const UserAccount& account : accounts)
        byName[account.name] = &account;
    const MutexLock guard(mutex_);
    for (auto& [key, logins] : live_) {
        const auto found = byName.find(key.user);
        const UserAccount* const account = found != byName.end() ? found->second : nullptr;
        for (Login& login : logins) {
            if (account == nullptr || !account->enabled || account->id != login.userId ||
                account->passwordNumber != login.passwordNumber ||
                !account->allowsCertificate(login.subject))
                invalidate(login);
            else
                login.expiresUtc = account->expiresUtc;
        }
    }
}

std::vector<LiveLogIns::Key> LiveLogIns::invalid(std::int64_t nowUtc, Time now) {
    std::vector<Key> told;
    const MutexLock guard(mutex_);
    for (auto& [key, logins] : live_) {
        for (Login& login : logins) {
            if (login.expiresUtc && *login.expiresUtc <= nowUtc)
                invalidate(login);
            if (!login.isInvalid || now < login.tellNext)
                continue;
            login.pause = std::clamp(2 * login.pause, kFirstPause, kLongestPause);
            login.tellNext = now + login.pause;
            told.push_back(key);
        }
    }
    return told;
}

}  // namespace NS_CORBA
