#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/export.h>

#include <chrono>

namespace kelp::orb {

/// Limit every outgoing call of the calling thread, including the time to connect. 0 removes the
/// limit; the process's limit then applies. A negative limit has expired already: calls fail at
/// once. Works on any thread, whether or not the ORB created it. Return false when the ORB refuses;
/// the limit is then unchanged. It refuses before the first start().
KELP_EXPORT bool setThreadTimeout(std::chrono::milliseconds limit);

/// Limit every outgoing call of threads for which no limit is set. 0 removes the limit. Return
/// false when the ORB refuses.
KELP_EXPORT bool setProcessTimeout(std::chrono::milliseconds limit);

/// Limit all outgoing calls of the process while it stops. From now on no call takes longer than
/// `limit`, whatever limits threads have. Calls in progress, including those that are still
/// connecting, get the same time from now on. A call that exceeds it fails with COMM_FAILURE or
/// TRANSIENT, and its connection is closed. Holds until liftCallLimit() or the next start(). A
/// second limit replaces the first.
KELP_EXPORT void limitAllCalls(std::chrono::milliseconds limit);
KELP_EXPORT void liftCallLimit();

/// Sets the calling thread's limit for a scope. The destructor restores the previous limit, whether
/// this class or setThreadTimeout() set it.
class KELP_EXPORT ScopedThreadTimeout {
  public:
    explicit ScopedThreadTimeout(std::chrono::milliseconds limit);
    ~ScopedThreadTimeout();
    ScopedThreadTimeout(const ScopedThreadTimeout&) = delete;
    ScopedThreadTimeout& operator=(const ScopedThreadTimeout&) = delete;

  private:
    std::chrono::milliseconds before_;
};

}  // namespace kelp::orb
