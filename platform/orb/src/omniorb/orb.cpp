#include <kelp/orb/orb.h>
#include <kelp/orb/timeouts.h>
#include <kelp/util/mutex.h>
#include <kelp/util/trace_limit.h>
#include <omniORB4/omniORB.h>

#include "../gate/gate.h"
#include "../port_state.h"
#include "../trace.h"
#include "omniorb/calls/outgoing_calls.h"
#include "omniorb/requests/callers.h"
#include "omniorb/requests/interception.h"
#include "option_table.h"
#include "repairs/reference_creation.h"
#include "tls.h"
#include "transport/gate_transport.h"

namespace kelp::orb {

namespace {

/// One start at a time.
util::Mutex starting{util::LockRank::OrbStart, "orb::starting"};

/// Trace a line of the ORB's own log, which ends with a line feed. The number of lines is limited,
/// because whoever reaches the port can cause most of them.
void traceOrbLine(const char* line) {
    std::string text(line);
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    if (isTlsUnusedNotice(text))
        return;
    const std::string kind = "orb " + util::shapeOf(text);
    util::traceLimited(traceLine(util::TraceKind::Trace, std::move(text)), kind);
}

/// Throw BAD_INV_ORDER while an ORB exists. ORB_init would return that one, with other options and
/// another hook than asked for.
void refuseWhileOneRuns() {
    const CORBA::ORB_var orb = PortState::instance().orb();
    if (CORBA::is_nil(orb.in()))
        return;
    try {
        orb->work_pending();
    } catch (const CORBA::OBJECT_NOT_EXIST&) {
        return;
    } catch (const CORBA::SystemException&) {
        // shut down but not destroyed
    }
    throw CORBA::BAD_INV_ORDER(0, CORBA::COMPLETED_NO);
}

void setUpGate(const OrbOptions& options) {
    gate::Gate::makeCurrent(
        {options.gateLimits, options.messageBytesMax, options.replyTimeout, options.gatePolicy});
    registerGateTransport();
}

void destroyUnfinished(CORBA::ORB_ptr orb) {
    interceptRequests(nullptr);
    PortState::instance().forget();
    orb->destroy();
}

}  // namespace

CORBA::ORB_ptr start(const OrbOptions& options, RequestHook* hook) {
    const util::MutexLock lock(starting);
    refuseWhileOneRuns();
    liftCallLimit();
    omniORB::setLogFunction(traceOrbLine);
    setUpTls(options);
    setUpGate(options);
    OptionTable table = optionTable(options);
    int argc = 0;
    CORBA::ORB_var orb = CORBA::ORB_init(argc, nullptr, "omniORB4", table.pairs());
    try {
        takeOverHandshakes();
        interceptRequests(hook);
        guardOutgoingCalls();
        freeBrokenReferences();
        resetCallers();
        // opens the endpoints; all callers are held until the POA manager is activated
        const CORBA::Object_var root = orb->resolve_initial_references("RootPOA");
        PortState::instance().keep(orb.in());
    } catch (const CORBA::Exception&) {
        destroyUnfinished(orb.in());
        throw;
    }
    return orb._retn();
}

void serve(CORBA::ORB_ptr orb, unsigned) {
    // this ORB creates its own threads, so run() only waits
    try {
        orb->run();
    } catch (const CORBA::BAD_INV_ORDER&) {
        // shut down already
    } catch (const CORBA::OBJECT_NOT_EXIST&) {
        // destroyed already
    }
}

}  // namespace kelp::orb
