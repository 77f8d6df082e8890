#pragma once

#include <kelp/orb/corba.h>
#include <kelp/util/export.h>

namespace NS_CORBA {

/// The child POA `name` of `parent` with persistent lifespan and user-assigned ids, made when
/// missing, under the parent's manager. The caller owns the result. Throws CORBA system exceptions.
KELP_EXPORT PortableServer::POA_ptr get_persistent_poa(PortableServer::POA_ptr parent,
                                                       const char* name);

/// Activates `servant` under `id` (or reuses an activation that exists) and returns its reference,
/// which the caller owns. Nil when the POA is nil or the id is taken by another servant. The POA
/// takes its own reference on the servant.
KELP_EXPORT CORBA::Object_ptr get_persistent_ref(PortableServer::POA_ptr poa,
                                                 PortableServer::Servant servant, const char* id);

}  // namespace NS_CORBA
