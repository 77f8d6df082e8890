#pragma once

#include <kelp/util/token_buckets.h>

#include <chrono>
#include <string>

namespace NS_KELPCORBA {

/// Slows down an NMS that logs in again and again without a pause: each of its log-ins costs a
/// password hash and a session's making and ending, with the login lock held. `[session]
/// log_ins_at_once` of them are free; beyond those each waits a second, so that the NMS gets one a
/// second, and nobody is refused. Callable from any thread.
class LogInPace {
  public:
    /// For the log-in of this NMS and user once its password was found right, without a lock held.
    /// Returns at once for those that are free, for calls inside the process, and when the agent's
    /// exit is requested.
    void await(const std::string& hostInfo, const std::string& user);

  private:
    kelp::util::TokenBuckets buckets_;
};

}  // namespace NS_KELPCORBA
