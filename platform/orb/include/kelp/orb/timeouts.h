#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/export.h>

#include <chrono>

namespace kelp::orb {

/// Limit of every outgoing call of the calling thread, connecting included; 0 switches it off (the
/// process's limit then holds). A negative limit has run out: calls fail at once. Works on any
/// thread, whoever made it. False when the ORB refused; the limit is then as before. It refuses
/// before the first start().
KELP_EXPORT bool setThreadTimeout(std::chrono::milliseconds limit);

/// Limit of every outgoing call of the process where no thread limit is set; 0 switches it off.
KELP_EXPORT bool setProcessTimeout(std::chrono::milliseconds limit);

/// For a stop: from here on no outgoing call of the process takes longer than `limit`, whatever
/// limits threads have. Calls in progress, those that are still connecting included, get as much
/// from now on. A call beyond it fails with COMM_FAILURE or TRANSIENT, and its connection is
/// closed. Holds until liftCallLimit() or the next start(); a second limit replaces the first.
KELP_EXPORT void limitAllCalls(std::chrono::milliseconds limit);
KELP_EXPORT void liftCallLimit();

/// A thread limit for the time of a scope; the limit before it (by this class or setThreadTimeout)
/// comes back.
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
