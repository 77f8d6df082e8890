#include "access/log_in_throttle.h"

#include <kelp/users/user_name.h>

#include <algorithm>
#include <limits>

namespace NS_CORBA {

namespace {

using kelp::util::MutexLock;

/// Factor on the limit for failures of a user from all addresses, and of an address with all users,
/// compared with those of one user at one address.
constexpr int kSlower = 10;
/// Longest lock-out, as a multiple of the first one: long enough to make guessing hopeless, short
/// enough to wait for.
constexpr std::chrono::seconds::rep kLongestLockout = 8;
constexpr std::chrono::seconds kFirstRefusal{1};
/// Quiet time after which failures are forgotten, as a multiple of the first lock-out.
constexpr int kQuietLockouts = 2;

/// Return `first` doubled `times` times, at most `longest`.
std::chrono::seconds doubled(std::chrono::seconds first, int times, std::chrono::seconds longest) {
    std::chrono::seconds pause = first;
    for (int i = 0; i < times && pause < longest; ++i)
        pause *= 2;
    return std::min(pause, longest);
}

/// Return the name as a key of bounded length. All names too long for a user share one key.
std::string keyOf(const std::string& user) {
    return user.size() <= kelp::users::kNameBytesMax
               ? user
               : std::string(kelp::users::kNameBytesMax + 1, '<');
}

}  // namespace

LoginOrigin originOf(const kelp::util::PeerAddress& peer) {
    return {peer.text, kelp::util::networkOf(peer)};
}

void LogInThrottle::Record::clearWhenQuiet(Time now, std::chrono::seconds lockout) {
    if (now >= std::max(used, refusedUntil) + kQuietLockouts * lockout)
        failures = 0;
}

void LogInThrottle::Record::refuseFor(std::chrono::seconds pause, Time now) {
    refusedUntil = now + pause;
}

template <class Table, class Key>
auto& LogInThrottle::recordOf(Table& table, const Key& key, Time now) {
    const auto inserted = table.try_emplace(key);
    const auto at = inserted.first;
    if (!inserted.second)
        return at->second;
    at->second.used = now;
    if (table.size() > recordsMax_) {
        const auto oldest =
            std::min_element(table.begin(), table.end(), [&](const auto& a, const auto& b) {
                // the new record is never evicted
                return (&a == &*at ? Time::max() : a.second.used) <
                       (&b == &*at ? Time::max() : b.second.used);
            });
        table.erase(oldest);
    }
    return at->second;
}

bool LogInThrottle::refuses(const std::string& user, const LoginOrigin& origin, Time now) const {
    const MutexLock guard(mutex_);
    const auto pair = pairs_.find({keyOf(user), origin.address});
    if (pair != pairs_.end() && now < pair->second.refusedUntil)
        return true;
    if (pair != pairs_.end() && pair->second.hasLoggedIn)
        return false;
    const auto network = networks_.find(origin.network);
    return network != networks_.end() && now < network->second.refusedUntil;
}

std::optional<std::chrono::seconds> LogInThrottle::failed(const std::string& user,
                                                          const LoginOrigin& origin, Time now,
                                                          const Limits& limits) {
    const std::string name = keyOf(user);
    const MutexLock guard(mutex_);
    const auto count = [&](Record& record) {
        record.clearWhenQuiet(now, limits.lockout);
        if (record.failures < std::numeric_limits<int>::max())
            ++record.failures;
        record.used = now;
    };
    Record& network = recordOf(networks_, origin.network, now);
    count(network);
    if (const int excess = network.failures - kSlower * limits.failures; excess >= 0)
        network.refuseFor(doubled(kFirstRefusal, excess, limits.lockout), now);

    Record& anywhere = recordOf(users_, name, now);
    count(anywhere);
    const bool isUnderAttack = anywhere.failures > kSlower * limits.failures;

    PairRecord& pair = recordOf(pairs_, Pair{name, origin.address}, now);
    count(pair);
    pair.network = origin.network;
    const int attempts = isUnderAttack && !pair.hasLoggedIn ? 1 : limits.failures;
    if (pair.failures < attempts)
        return std::nullopt;
    const std::chrono::seconds lockout =
        doubled(limits.lockout, pair.failures - attempts, kLongestLockout * limits.lockout);
    pair.refuseFor(lockout, now);
    return lockout;
}

void LogInThrottle::succeeded(const std::string& user, const LoginOrigin& origin, Time now) {
    const MutexLock guard(mutex_);
    PairRecord& pair = recordOf(pairs_, Pair{keyOf(user), origin.address}, now);
    pair = PairRecord{{0, Time{}, now, true}, origin.network};
}

void LogInThrottle::forget(const std::string& user) {
    const std::string name = keyOf(user);
    const MutexLock guard(mutex_);
    users_.erase(name);
    for (auto at = pairs_.lower_bound({name, std::string()});
         at != pairs_.end() && at->first.first == name; ++at) {
        if (at->second.failures > 0)
            networks_.erase(at->second.network);
        at->second.failures = 0;
        at->second.refusedUntil = Time{};
    }
}

std::vector<LockOut> LogInThrottle::lockOuts(Time now) const {
    using namespace std::chrono;
    std::vector<LockOut> all;
    const MutexLock guard(mutex_);
    for (const auto& [pair, record] : pairs_) {
        if (record.refusedUntil > now && all.size() < kLockOutsShownMax)
            all.push_back({pair.first, pair.second,
                           system_clock::now() - duration_cast<seconds>(now - record.used),
                           ceil<seconds>(record.refusedUntil - now)});
    }
    return all;
}

std::size_t LogInThrottle::records() const {
    const MutexLock guard(mutex_);
    return pairs_.size() + users_.size() + networks_.size();
}

}  // namespace NS_CORBA
