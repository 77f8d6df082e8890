#pragma once

#include <kelp/users/user_database.h>
#include <kelp/util/mutex.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace NS_CORBA {

/// Keeps who is logged in from where, and whose account no longer allows it. Any thread may call
/// it.
class LiveLogIns {
  public:
    using Time = std::chrono::steady_clock::time_point;
    /// Identifies a log-in: the user's name and the NMS's "address:port".
    struct Key {
        std::string user;
        std::string hostInfo;
        friend auto operator<=>(const Key&, const Key&) = default;
    };

    /// Maximum numbers of log-ins live at the same time.
    struct Quotas {
        std::size_t perAccount = 0;
        std::size_t perAddress = 0;
    };
    enum class Exceeded { Nothing, Account, Address };
    /// Return the quota that one more log-in under the key, from this address, would exceed after
    /// replacing the existing ones under the key. Only quotas whose count it raises are checked.
    /// `address` is empty inside the process; then only the quota of the account applies.
    Exceeded exceededBy(const Key& key, const std::string& address, const Quotas& quotas) const
        KELP_EXCLUDES(mutex_);

    /// Enter a log-in that `account` allows, as it was read for this log-in. `address` is the
    /// connection's peer without port; empty inside the process. `subject` is the normalised
    /// subject of the peer's certificate; empty: it showed none.
    void enter(const Key& key, const kelp::users::UserAccount& account,
               const std::string& address = {}, const std::string& subject = {})
        KELP_EXCLUDES(mutex_);
    /// Update the log-ins under the key, whose password was given again: with the account as it is
    /// now, the address as their latest one, and the certificate's subject.
    void renew(const Key& key, const kelp::users::UserAccount& account,
               const std::string& address = {}, const std::string& subject = {})
        KELP_EXCLUDES(mutex_);
    /// End the oldest log-in under the key. False when there is none.
    bool leave(const Key& key) KELP_EXCLUDES(mutex_);
    std::size_t count(const Key& key) const KELP_EXCLUDES(mutex_);
    /// Whether a valid log-in exists from this address, as of the last comparison with the
    /// accounts. Costs one table look-up.
    bool isFrom(const std::string& address) const KELP_EXCLUDES(mutex_);
    /// Return the account number of a user who is logged in; none for others.
    std::optional<std::int64_t> userId(const std::string& user) const KELP_EXCLUDES(mutex_);

    /// True once after log-ins were entered or renewed: their accounts may have changed since they
    /// were read.
    bool takeEntered() KELP_EXCLUDES(mutex_);
    /// Compare the log-ins with all accounts. A log-in becomes invalid when its account is gone, is
    /// disabled, has a new password or no longer allows its certificate.
    void compare(const std::vector<kelp::users::UserAccount>& accounts) KELP_EXCLUDES(mutex_);
    /// Return the invalid and expired log-ins to report now. A log-in that stays is returned again
    /// after growing pauses, 300 ms to 30 s: its session may not have been listed yet when it
    /// became invalid.
    std::vector<Key> invalid(std::int64_t nowUtc, Time now) KELP_EXCLUDES(mutex_);

  private:
    struct Login {
        std::int64_t userId = 0;
        std::int64_t passwordNumber = 0;
        std::optional<std::int64_t> expiresUtc;
        std::vector<std::string> addresses;  ///< in order of use, the latest at the end
        std::string subject;                 ///< of the certificate shown last
        bool isInvalid = false;
        Time tellNext{};
        std::chrono::milliseconds pause{0};
    };
    static Login loginOf(const kelp::users::UserAccount& account);

    void admit(const Login& login) KELP_REQUIRES(mutex_);
    /// Undo one admit() of the same log-in.
    void dismiss(const Login& login) KELP_REQUIRES(mutex_);
    void dismiss(const std::string& address) KELP_REQUIRES(mutex_);
    void invalidate(Login& login) KELP_REQUIRES(mutex_);

    mutable kelp::util::Mutex mutex_{kelp::util::LockRank::Service, "LiveLogIns::mutex_"};
    std::map<Key, std::deque<Login>> live_ KELP_GUARDED_BY(mutex_);
    /// Number of valid log-ins from each address.
    std::unordered_map<std::string, std::size_t> valid_ KELP_GUARDED_BY(mutex_);
    bool entered_ KELP_GUARDED_BY(mutex_) = false;
};

}  // namespace NS_CORBA
