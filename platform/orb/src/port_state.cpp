#include "port_state.h"

#include <kelp/util/mutex.h>

namespace kelp::orb {

namespace {

struct Kept {
    util::Mutex mutex{util::LockRank::Service, "PortState::mutex"};
    CORBA::ORB_var orb KELP_GUARDED_BY(mutex);
    PortableServer::Current_var poaCurrent KELP_GUARDED_BY(mutex);
};

// never deleted: the ORB's threads may still use it while the process exits
Kept& kept() {
    static Kept* state = new Kept;
    return *state;
}

}  // namespace

PortState& PortState::instance() {
    static PortState state;
    return state;
}

void PortState::keep(CORBA::ORB_ptr orb) {
    const CORBA::Object_var object = orb->resolve_initial_references("POACurrent");
    PortableServer::Current_var current = PortableServer::Current::_narrow(object.in());
    CORBA::ORB_var own = CORBA::ORB::_duplicate(orb);
    Kept& state = kept();
    const util::MutexLock lock(state.mutex);
    state.orb = own._retn();
    state.poaCurrent = current._retn();
}

void PortState::forget() {
    Kept& state = kept();
    const util::MutexLock lock(state.mutex);
    state.orb = CORBA::ORB::_nil();
    state.poaCurrent = PortableServer::Current::_nil();
}

CORBA::ORB_ptr PortState::orb() const {
    Kept& state = kept();
    const util::MutexLock lock(state.mutex);
    return CORBA::ORB::_duplicate(state.orb.in());
}

PortableServer::Current_ptr PortState::poaCurrent() const {
    Kept& state = kept();
    const util::MutexLock lock(state.mutex);
    return PortableServer::Current::_duplicate(state.poaCurrent.in());
}

}  // namespace kelp::orb
