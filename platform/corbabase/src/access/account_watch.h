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

/// A thread that looks at the user database a few times a second. It raises light event 119 (user
/// state change) for each live log-in whose account has become invalid or has expired, and takes
/// lock-outs back when the operator says so. A database that cannot be read makes nobody invalid.
class AccountWatch {
  public:
    /// Both are borrowed.
    AccountWatch(LiveLogins& live, LoginThrottle& throttle);
    ~AccountWatch();
    AccountWatch(const AccountWatch&) = delete;
    AccountWatch& operator=(const AccountWatch&) = delete;

    /// Throws std::system_error when there is no thread to be had.
    void start();
    /// Returns when the thread has ended. It may be started again.
    void stop();

  private:
    void run();
    void compare(const std::vector<UserAccount>& accounts);
    void tellInvalid();

    LiveLogins& live_;
    LoginThrottle& throttle_;
    UserWatch users_;                               // the thread's own, as the next one is
    std::map<std::int64_t, std::int64_t> unlocks_;  // of each account, as seen last
    std::mutex control_;  // one start or stop at a time; taken before mutex_
    std::thread thread_;  // guarded by control_
    std::mutex mutex_;    // guards the rest
    std::condition_variable stop_;
    bool stopping_ = false;
};

}  // namespace NS_CORBA
