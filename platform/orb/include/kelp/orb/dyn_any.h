#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/export.h>
#include <omniORB4/dynAny.h>

namespace kelp::orb {

/// Return a DynAny with the Any's content, created by the DynAnyFactory of the running ORB. The
/// caller owns the reference and destroys the DynAny with DynAny::destroy. Throws BAD_INV_ORDER
/// when there is no ORB, and whatever DynAnyFactory::create_dyn_any throws.
KELP_EXPORT DynamicAny::DynAny_ptr dynAnyOf(const CORBA::Any& any);

}  // namespace kelp::orb
