#pragma once

#include <kelp/orb/corba.h>
#include <kelp/util/export.h>

namespace NS_CORBA {

/// Return the child POA `name` of `parent` with persistent lifespan and user-assigned ids. A
/// missing one is created under the parent's POA manager. The caller owns the result. Throws CORBA
/// system exceptions.
KELP_EXPORT PortableServer::POA_ptr get_persistent_poa(PortableServer::POA_ptr parent,
                                                       const char* name);

/// Activate `servant` under `id` and return its reference, which the caller owns. An existing
/// activation of the same servant is reused. Nil when the POA is nil, when another servant uses the
/// id, or when the servant is active under another id. The POA takes its own reference on the
/// servant.
KELP_EXPORT CORBA::Object_ptr get_persistent_ref(PortableServer::POA_ptr poa,
                                                 PortableServer::Servant servant, const char* id);

}  // namespace NS_CORBA
