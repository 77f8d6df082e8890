#pragma once

#include <kelp/users/user_watch.h>
#include <kelp/util/mutex.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <thread>
#include <vector>

#include "access/live_log_ins.h"
#include "access/log_in_throttle.h"

namespace NS_CORBA {

/// Watches the user database on a separate thread, which reads it every 300 ms. It raises light
/// event 119 (user state change) for each live log-in whose account has become invalid or has
/// expired. It lifts lock-outs when the operator asks for it. While the database cannot be read, no
/// log-in becomes invalid by it.
class AccountWatch {
  public:
    /// Both are borrowed and must outlive the watch.
    AccountWatch(LiveLogIns& live, LogInThrottle& throttle);
    ~AccountWatch();
    AccountWatch(const AccountWatch&) = delete;
    AccountWatch& operator=(const AccountWatch&) = delete;

    /// Throws std::system_error when no thread can be created.
    void start() KELP_EXCLUDES(control_, mutex_);
    /// End the thread and wait for its end. It may be started again.
    void stop() KELP_EXCLUDES(control_, mutex_);

  private:
    void run() KELP_EXCLUDES(mutex_);
    void look(const std::filesystem::path& file);
    void compare(const std::vector<kelp::users::UserAccount>& accounts);
    void tellInvalid();

    LiveLogIns& live_;
    LogInThrottle& throttle_;
    kelp::users::UserWatch users_;                  // used by the thread only, as is unlocks_
    std::map<std::int64_t, std::int64_t> unlocks_;  // account id to number of unlocks, as read last
    /// Held for a whole start or stop.
    kelp::util::Mutex control_{kelp::util::LockRank::ServiceControl, "AccountWatch::control_"};
    std::thread thread_ KELP_GUARDED_BY(control_);
    kelp::util::Mutex mutex_{kelp::util::LockRank::Service, "AccountWatch::mutex_"};
    kelp::util::ConditionVariable stop_;
    bool stopping_ KELP_GUARDED_BY(mutex_) = false;
};

}  // namespace NS_CORBA
