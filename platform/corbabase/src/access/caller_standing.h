#pragma once

#include <kelp/orb/request.h>
#include <kelp/util/token_buckets.h>

#include <cstdint>
#include <mutex>

namespace NS_CORBA {

/// Whether the caller of the request that the calling thread has in hand is logged in. Somebody is
/// when an NMS is logged in from his address; a call inside the process counts as one. While he is
/// not, the lines that the thread traces are limited.
class CallerStanding {
  public:
    /// A request has arrived: looks up who calls. True when he is logged in.
    static bool arrive(const kelp::orb::RequestInfo& request);
    /// The request has reached an object of a session, which none but its NMS knows: he is logged
    /// in, though it be from another address.
    static void knowsSession();
    /// What arrive() has found for this request, or the log-in that the request itself was. Looks
    /// it up for a request that did not arrive on this thread.
    static bool isLoggedIn(const kelp::orb::RequestInfo& request);
    /// The request has ended.
    static void leave() noexcept;
};

/// How many requests a second an address without a log-in may make, as configured in [access].
/// Callable from any thread; follows the configuration's re-reads.
class RequestRate {
  public:
    /// False when the request is one too many.
    bool admits(const kelp::orb::PeerAddress& peer, kelp::util::TokenBuckets::Time now);
    /// The request is not to count after all.
    void giveBack(const kelp::orb::PeerAddress& peer);
    void reset() { buckets_.clear(); }

  private:
    kelp::util::TokenBuckets::Limits limits();

    std::mutex mutex_;              // guards the next two
    std::uint64_t generation_ = 0;  ///< of the configuration that was read last
    kelp::util::TokenBuckets::Limits limits_;
    kelp::util::TokenBuckets buckets_;
};

}  // namespace NS_CORBA
