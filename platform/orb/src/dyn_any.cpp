#include <kelp/orb/dyn_any.h>

#include "port_state.h"

namespace kelp::orb {

DynamicAny::DynAny_ptr dynAnyOf(const CORBA::Any& any) {
    const CORBA::ORB_var orb = PortState::instance().orb();
    if (CORBA::is_nil(orb.in()))
        throw CORBA::BAD_INV_ORDER(0, CORBA::COMPLETED_NO);
    const CORBA::Object_var object = orb->resolve_initial_references("DynAnyFactory");
    const DynamicAny::DynAnyFactory_var factory = DynamicAny::DynAnyFactory::_narrow(object.in());
    return factory->create_dyn_any(any);
}

}  // namespace kelp::orb
