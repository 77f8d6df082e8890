#pragma once

#include <kelp/util/token_buckets.h>

#include <chrono>
#include <string>

namespace NS_KELPCORBA {

/// Throttles an NMS that logs in repeatedly without a pause. Each of its log-ins costs a password
/// hash and makes and ends a session, with the login lock held. Up to `[session] log_ins_at_once`
/// log-ins in quick succession are free. Each further one waits 1 s, which limits the NMS to one
/// log-in per second. None is refused. Any thread may call it.
class LogInPace {
  public:
    /// Wait for the turn of this NMS and user. Called after the password was found right, without a
    /// lock held. Returns at once for a free log-in, for calls inside the process, and when the
    /// agent is about to exit.
    void await(const std::string& hostInfo, const std::string& user);

  private:
    kelp::util::TokenBuckets buckets_;
};

}  // namespace NS_KELPCORBA
