#include "access/caller_standing.h"

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

}  // namespace NS_CORBA
