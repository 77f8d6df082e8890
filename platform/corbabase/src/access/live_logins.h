#pragma once

#include <kelp/corbabase/user_database.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace NS_CORBA {

/// Who is logged in from where, and whose account no longer allows it. Callable from any thread.
class LiveLogins {
  public:
    using Time = std::chrono::steady_clock::time_point;
    /// One log-in: the user's name and the NMS's "address:port".
    struct Key {
        std::string user;
        std::string hostInfo;
        friend auto operator<=>(const Key&, const Key&) = default;
    };

    /// Log-ins that may be live at the same time.
    struct Quotas {
        std::size_t perAccount = 0;
        std::size_t perAddress = 0;
    };
    enum class Exceeded { Nothing, Account, Address };
    /// What one more log-in under the key, from this address, would exceed once it has taken the
    /// place of those that are there under the key. Never a quota that it does not raise; inside
    /// the process, where there is no address, only that of the account.
    Exceeded exceededBy(const Key& key, const std::string& address, const Quotas& quotas) const;

    /// Enters a log-in that this account, as it was read for it, allows. `address` is that of the
    /// connection it came over, without port; empty inside the process. `subject` is that of the
    /// peer's certificate, normalised; empty: it showed none.
    void enter(const Key& key, const UserAccount& account, const std::string& address = {},
               const std::string& subject = {});
    /// The log-ins under the key hold for the account as it is now: its password was given again,
    /// from this address, which is one of theirs from here on, and with this certificate.
    void renew(const Key& key, const UserAccount& account, const std::string& address = {},
               const std::string& subject = {});
    /// Ends the oldest log-in under the key; false when there is none.
    bool leave(const Key& key);
    std::size_t count(const Key& key) const;
    /// Whether somebody is logged in from this address whose account allows it, as far as it has
    /// been looked at. Costs one look into a table.
    bool isFrom(const std::string& address) const;
    /// The account's number of somebody who is logged in; none for others.
    std::optional<std::int64_t> userId(const std::string& user) const;

    /// True once after log-ins were entered: accounts may have changed since theirs was read.
    bool takeEntered();
    /// Compares with all accounts that there are. A log-in whose account is gone, disabled, has
    /// another password or allows its certificate no more is invalid from then on.
    void compare(const std::vector<UserAccount>& accounts);
    /// The invalid and expired log-ins that are to be told about now. Those that stay are told
    /// about again after growing pauses: a session may not have been listed yet when its log-in
    /// became invalid.
    std::vector<Key> invalid(std::int64_t nowUtc, Time now);

  private:
    struct Login {
        std::int64_t userId = 0;
        std::int64_t passwordNumber = 0;
        std::optional<std::int64_t> expiresUtc;
        std::vector<std::string> addresses;  ///< the latest last
        std::string subject;                 ///< of the latest certificate
        bool isInvalid = false;
        Time tellNext{};
        std::chrono::milliseconds pause{0};
    };
    static Login loginOf(const UserAccount& account);

    // under the lock
    void admit(const Login& login);
    /// Once for each admit() of the same login.
    void dismiss(const Login& login);
    void dismiss(const std::string& address);
    void invalidate(Login& login);

    mutable std::mutex mutex_;  // guards what follows
    std::map<Key, std::deque<Login>> live_;
    std::unordered_map<std::string, std::size_t> valid_;  ///< valid log-ins from each address
    bool entered_ = false;
};

}  // namespace NS_CORBA
