#pragma once

#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "access/live_logins.h"
#include "access/login_throttle.h"
#include "users/user_watch.h"

namespace NS_CORBA {

/// Watches the user database on a separate thread, which reads it every 300 ms. It raises light
/// event 119 (user state change) for each live log-in whose account has become invalid or has
/// expired. It lifts lock-outs when the operator asks for it. While the database cannot be read, no
/// log-in becomes invalid by it.
class AccountWatch {
  public:
    /// Both are borrowed and must outlive the watch.
    AccountWatch(LiveLogins& live, LoginThrottle& throttle);
    ~AccountWatch();
    AccountWatch(const AccountWatch&) = delete;
    AccountWatch& operator=(const AccountWatch&) = delete;

    /// Throws std::system_error when no thread can be created.
    void start();
    /// End the thread and wait for its end. It may be started again.
    void stop();

  private:
    void run();
    void compare(const std::vector<UserAccount>& accounts);
    void tellInvalid();

    LiveLogins& live_;
    LoginThrottle& throttle_;
    UserWatch users_;                               // used by the thread only, as is unlocks_
    std::map<std::int64_t, std::int64_t> unlocks_;  // account id to number of unlocks, as read last
    std::mutex control_;  // held for a whole start or stop; locked before mutex_
    std::thread thread_;  // guarded by control_
    std::mutex mutex_;    // guards the rest
    std::condition_variable stop_;
    bool stopping_ = false;
};

}  // namespace NS_CORBA
