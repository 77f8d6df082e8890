#include "port_state.h"

#include <mutex>

namespace kelp::orb {

namespace {

struct Kept {
    std::mutex lock;
    CORBA::ORB_var orb;
    PortableServer::Current_var poaCurrent;
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
    const std::lock_guard<std::mutex> guard(kept().lock);
    kept().orb = own._retn();
    kept().poaCurrent = current._retn();
}

void PortState::forget() {
    const std::lock_guard<std::mutex> guard(kept().lock);
    kept().orb = CORBA::ORB::_nil();
    kept().poaCurrent = PortableServer::Current::_nil();
}

CORBA::ORB_ptr PortState::orb() const {
    const std::lock_guard<std::mutex> guard(kept().lock);
    return CORBA::ORB::_duplicate(kept().orb.in());
}

PortableServer::Current_ptr PortState::poaCurrent() const {
    const std::lock_guard<std::mutex> guard(kept().lock);
    return PortableServer::Current::_duplicate(kept().poaCurrent.in());
}

}  // namespace kelp::orb
