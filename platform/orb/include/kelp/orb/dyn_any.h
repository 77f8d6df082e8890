#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/export.h>
#include <omniORB4/dynAny.h>

namespace kelp::orb {

/// A dynamic value of what the Any holds, by the factory of the ORB that runs; the caller destroys
/// it (DynAny::destroy). Throws BAD_INV_ORDER without an ORB, and what
/// DynAnyFactory::create_dyn_any throws.
KELP_EXPORT DynamicAny::DynAny_ptr dynAnyOf(const CORBA::Any& any);

}  // namespace kelp::orb
