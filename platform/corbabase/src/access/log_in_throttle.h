#pragma once

#include <kelp/corbabase/security_mgr.h>
#include <kelp/util/mutex.h>
#include <kelp/util/peer_address.h>

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace NS_CORBA {

/// The origin of a log-in.
struct LoginOrigin {
    /// The connection's peer without port. Empty for a call inside the process.
    std::string address;
    /// What counts as one caller: the IPv4 address, or the first 64 bits of an IPv6 address.
    std::string network;
};

LoginOrigin originOf(const kelp::util::PeerAddress& peer);

/// Throttles log-ins after failures. It is asked before a password is hashed.
///
/// - A user at one address is locked out after `failures` wrong passwords, first for `lockout`.
///   Each further failure doubles the time, up to 8 times `lockout`.
/// - A user with ten times `failures`, from all addresses together, is not locked out, because
///   anybody could then lock out any user. Instead, an address from which this user has not logged
///   in before gets one attempt instead of `failures`.
/// - An address with ten times `failures`, of all users together, waits 1 s, then 2 s and so on up
///   to `lockout`. Users who have logged in from there before do not wait.
///
/// A record is cleared after a quiet time of twice `lockout` since the last failure or the end of
/// the lock-out. Attempts refused here do not count. Names of nonexistent users are treated like
/// all others. Memory is bounded: the record used longest ago is evicted. Any thread may call it.
class LogInThrottle {
  public:
    using Time = std::chrono::steady_clock::time_point;
    struct Limits {
        int failures = 5;
        std::chrono::seconds lockout{300};
    };

    explicit LogInThrottle(std::size_t recordsMax = 10000) : recordsMax_(recordsMax) {}

    /// True when the attempt must be refused without checking the password.
    bool refuses(const std::string& user, const LoginOrigin& origin, Time now) const
        KELP_EXCLUDES(mutex_);
    /// Count a wrong password. Return the time for which this user is now locked out at this
    /// address, if at all.
    std::optional<std::chrono::seconds> failed(const std::string& user, const LoginOrigin& origin,
                                               Time now, const Limits& limits)
        KELP_EXCLUDES(mutex_);
    void succeeded(const std::string& user, const LoginOrigin& origin, Time now)
        KELP_EXCLUDES(mutex_);
    /// Lift all lock-outs of this user, and the pauses of the addresses that failed as this user.
    void forget(const std::string& user) KELP_EXCLUDES(mutex_);
    /// The users who are locked out at an address now, at most kLockOutsShownMax.
    std::vector<LockOut> lockOuts(Time now) const KELP_EXCLUDES(mutex_);
    /// Number of records of all three kinds together; of each kind there are at most `recordsMax`.
    std::size_t records() const KELP_EXCLUDES(mutex_);

    static constexpr std::size_t kLockOutsShownMax = 100;

  private:
    struct Record {
        int failures = 0;
        Time refusedUntil{};
        Time used{};
        bool hasLoggedIn = false;  ///< for a user at an address only

        void clearWhenQuiet(Time now, std::chrono::seconds lockout);
        void refuseFor(std::chrono::seconds pause, Time now);
    };
    struct PairRecord : Record {
        std::string network;
    };
    using Pair = std::pair<std::string, std::string>;  // user, address

    template <class Table, class Key>
    auto& recordOf(Table& table, const Key& key, Time now) KELP_REQUIRES(mutex_);

    const std::size_t recordsMax_;
    mutable kelp::util::Mutex mutex_{kelp::util::LockRank::Leaf, "LogInThrottle::mutex_"};
    std::map<Pair, PairRecord> pairs_ KELP_GUARDED_BY(mutex_);
    std::map<std::string, Record> users_ KELP_GUARDED_BY(mutex_);
    std::map<std::string, Record> networks_ KELP_GUARDED_BY(mutex_);
};

}  // namespace NS_CORBA
