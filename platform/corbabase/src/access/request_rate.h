#pragma once

#include <kelp/util/mutex.h>
#include <kelp/util/peer_address.h>
#include <kelp/util/token_buckets.h>

#include <cstdint>

namespace NS_CORBA {

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
