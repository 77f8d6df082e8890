#include <kelp/corbabase/agent_server.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/orb.h>
#include <kelp/orb/timeouts.h>
#include <kelp/util/stopping.h>

#include "naming/embedded_naming.h"
#include "orb/orb_life.h"

namespace NS_CORBA {

namespace {

constexpr const char* kFile = "agentserver";

/// Long enough for calls that end without help (calls to an NMS end at their own time-out), short
/// enough for the host's stop.
constexpr std::chrono::seconds kShutDownLimit{10};

PortableServer::POAManager_ptr rootManager() {
    const PortableServer::POA_var root = OrbLife::instance().rootPoa();
    return CORBA::is_nil(root.in()) ? PortableServer::POAManager::_nil() : root->the_POAManager();
}

}  // namespace

void* AgentServer::AgentWorker(void*) {
    OrbLife::instance().serve();
    return nullptr;
}

int AgentServer::Activate() {
    try {
        const PortableServer::POAManager_var manager = rootManager();
        if (CORBA::is_nil(manager.in())) {
            tracePoint(kFile);
            TaTrace("[AgentServer::Activate] There is no ORB!");
            return -1;
        }
        EmbeddedNaming::instance().letCallersThrough();
        kelp::orb::letCallersThrough(manager.in());
        OrbLife::instance().admit();
        return 0;
    } catch (const CORBA::Exception& failure) {
        tracePoint(kFile);
        TaException(failure, "[AgentServer::Activate] The POA manager could not be activated!");
    }
    return -1;
}

void AgentServer::BeginStop() {
    kelp::util::beginStop();
    kelp::orb::limitAllCalls(kelp::util::kStopGrace);
}

void AgentServer::Discard() {
    if (OrbLife::instance().stage() != OrbLife::Stage::Running)
        return;
    // this also refuses requests for objects under well-known keys, which have a separate
    // POA manager
    OrbLife::instance().refuse();
    try {
        const PortableServer::POAManager_var manager = rootManager();
        if (!CORBA::is_nil(manager.in()))
            manager->discard_requests(false);
    } catch (const CORBA::Exception& failure) {
        tracePoint(kFile);
        TaException(failure, "[AgentServer::Discard] The POA manager refused to discard requests!");
    }
}

void AgentServer::ShutDown() {
    EmbeddedNaming::instance().stop();
    if (OrbLife::instance().shutdown(kShutDownLimit))
        return;
    tracePoint(kFile);
    TaTrace(
        "[AgentServer::ShutDown] Calls in progress have not ended within %d s; the stop goes on "
        "without "
        "them!",
        static_cast<int>(kShutDownLimit.count()));
}

bool AgentServer::HasLastRequestLeft() {
    return OrbLife::instance().stage() != OrbLife::Stage::ShuttingDown;
}

void AgentServer::Destroy() {
    if (OrbLife::instance().stage() == OrbLife::Stage::Running)
        ShutDown();
    if (OrbLife::instance().destroy())
        return;
    tracePoint(kFile);
    TaTrace("[AgentServer::Destroy] The ORB is left as it is: calls in progress have not ended!");
}

}  // namespace NS_CORBA
