#pragma once

#include <kelp/orb/request.h>

#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace NS_CORBA {

/// Where a log-in comes from.
struct LoginOrigin {
    std::string
        address;  ///< the connection's peer, without port; empty for a call inside the process
    std::string network;  ///< what counts as one caller: the IPv4 address, or an IPv6 address's
                          ///< first 64 bits
};

LoginOrigin originOf(const kelp::orb::PeerAddress& peer);

/// What holds failed log-ins back; answered before a password is hashed.
///
/// - A user at one address is locked out after `failures` wrong passwords, for `lockout`, and for
/// twice as
///   long with each failure after that, up to 8 times.
/// - A user with ten times as many failures, from wherever, is not locked out, because then anybody
/// could
///   lock out anybody: an address from which this user has not logged in before has one attempt
///   instead of `failures`.
/// - An address with ten times as many failures, of whatever users, waits 1 s, then 2 s and so on
/// up to
///   `lockout`. Users who have logged in from there before do not wait.
///
/// A quiet time of twice `lockout` behind the last failure or lock-out clears a record. Attempts
/// that are refused here count as nothing. Names that no user has are treated as all others. Memory
/// is bounded: the record that was used longest ago makes room. Callable from any thread.
class LoginThrottle {
  public:
    using Time = std::chrono::steady_clock::time_point;
    struct Limits {
        int failures = 5;
        std::chrono::seconds lockout{300};
    };

    explicit LoginThrottle(std::size_t recordsMax = 10000) : recordsMax_(recordsMax) {}

    /// True when the attempt is to be refused unchecked.
    bool refuses(const std::string& user, const LoginOrigin& origin, Time now) const;
    /// Counts a wrong password. Returns how long this user is locked out at this address from now
    /// on, if at all.
    std::optional<std::chrono::seconds> failed(const std::string& user, const LoginOrigin& origin,
                                               Time now, const Limits& limits);
    void succeeded(const std::string& user, const LoginOrigin& origin, Time now);
    /// Takes back what holds this user back, the waiting of the addresses that failed as this user
    /// included.
    void forget(const std::string& user);
    /// How many records there are, of each of the three kinds at most `recordsMax`.
    std::size_t records() const;

  private:
    struct Record {
        int failures = 0;
        Time refusedUntil{};
        Time used{};
        bool hasLoggedIn = false;  ///< of a user at an address

        void clearWhenQuiet(Time now, std::chrono::seconds lockout);
        void refuseFor(std::chrono::seconds pause, Time now);
    };
    struct PairRecord : Record {
        std::string network;
    };
    using Pair = std::pair<std::string, std::string>;  // user, address

    template <class Table, class Key>
    auto& recordOf(Table& table, const Key& key, Time now);

    const std::size_t recordsMax_;
    mutable std::mutex mutex_;  // guards the tables
    std::map<Pair, PairRecord> pairs_;
    std::map<std::string, Record> users_;
    std::map<std::string, Record> networks_;
};

}  // namespace NS_CORBA
