#include "access/request_rate.h"

#include <kelp/bundlemgr/config_store.h>

namespace NS_CORBA {

bool RequestRate::admits(const kelp::util::PeerAddress& peer, kelp::util::TokenBuckets::Time now) {
    const kelp::util::TokenBuckets::Limits allowed = limits();
    return allowed.perSecond <= 0 || buckets_.take(kelp::util::networkOf(peer), now, allowed);
}

void RequestRate::giveBack(const kelp::util::PeerAddress& peer) {
    buckets_.giveBack(kelp::util::networkOf(peer));
}

kelp::util::TokenBuckets::Limits RequestRate::limits() {
    const NS_BUNDLEMGR1::ConfigStore& config = NS_BUNDLEMGR1::ConfigStore::instance();
    const kelp::util::MutexLock guard(mutex_);
    // read the generation first: a change during the reading then causes another one
    if (const std::uint64_t generation = config.generation(); generation_ != generation) {
        generation_ = generation;
        limits_.perSecond =
            static_cast<double>(config.integer("access.requests_per_second_before_login"));
        limits_.burst = static_cast<double>(config.integer("access.requests_burst_before_login"));
    }
    return limits_;
}

}  // namespace NS_CORBA
