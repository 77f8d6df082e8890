#pragma once

#include <kelp/orb/request.h>
#include <kelp/util/mutex.h>
#include <kelp/util/token_buckets.h>

#include <cstdint>

namespace NS_CORBA {

/// Whether the caller of the calling thread's current request is logged in. A caller counts as
/// logged in when an NMS is logged in from its address; so does a caller inside the process. While
/// the caller is not logged in, the trace lines of the thread are limited.
class CallerStanding {
  public:
    /// A request has arrived: look up its caller. True when the caller is logged in.
    static bool arrive(const kelp::orb::RequestInfo& request);
    /// The request has reached an object of a session. Only the session's NMS knows its objects, so
    /// the caller counts as logged in, even from another address.
    static void knowsSession();
    /// Return what arrive() found for this request. If that was false, or if the request did not
    /// arrive on this thread, look the caller up again: the request may itself have been the
    /// log-in.
    static bool isLoggedIn(const kelp::orb::RequestInfo& request);
    /// The request has ended.
    static void leave() noexcept;
};

/// Limits the requests a second from an address without a log-in, as configured in [access].
/// Follows re-reads of the configuration. Any thread may call it.
class RequestRate {
  public:
    /// False when the request exceeds the limit.
    bool admits(const kelp::util::PeerAddress& peer, kelp::util::TokenBuckets::Time now);
    /// Do not count a request that admits() counted.
    void giveBack(const kelp::util::PeerAddress& peer);
    void reset() { buckets_.clear(); }

  private:
    kelp::util::TokenBuckets::Limits limits() KELP_EXCLUDES(mutex_);

    kelp::util::Mutex mutex_{kelp::util::LockRank::Service, "RequestRate::mutex_"};
    /// Of the configuration read last.
    std::uint64_t generation_ KELP_GUARDED_BY(mutex_) = 0;
    kelp::util::TokenBuckets::Limits limits_ KELP_GUARDED_BY(mutex_);
    kelp::util::TokenBuckets buckets_;
};

}  // namespace NS_CORBA
