#include "access/caller_standing.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/security_mgr.h>
#include <kelp/util/trace_limit.h>

namespace NS_CORBA {

namespace {

/// The result for the thread's current request.
struct Standing {
    const kelp::orb::RequestInfo* request = nullptr;
    bool isLoggedIn = false;
};

Standing& standing() {
    thread_local Standing instance;
    return instance;
}

bool lookUp(const kelp::orb::RequestInfo& request) {
    const kelp::util::PeerAddress& peer = request.peer();
    return peer.text.empty() || CorbaSecurityMgr::Instance()->IsLoggedInFrom(peer);
}

}  // namespace

bool CallerStanding::arrive(const kelp::orb::RequestInfo& request) {
    Standing& mine = standing();
    mine = {&request, lookUp(request)};
    if (mine.isLoggedIn)
        kelp::util::endTraceLimitOfThread();
    else
        kelp::util::limitTraceOfThread(kelp::util::networkOf(request.peer()));
    return mine.isLoggedIn;
}

void CallerStanding::knowsSession() {
    standing().isLoggedIn = true;
    kelp::util::endTraceLimitOfThread();
}

bool CallerStanding::isLoggedIn(const kelp::orb::RequestInfo& request) {
    const Standing& mine = standing();
    return (mine.request == &request && mine.isLoggedIn) || lookUp(request);
}

void CallerStanding::leave() noexcept {
    standing() = {};
    kelp::util::endTraceLimitOfThread();
}

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
