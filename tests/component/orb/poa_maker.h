#pragma once

#include <kelp/orb/corba.h>

#include <string>

#include "scripted_session.h"

namespace kelp::test {

/// Create a POA with an active object map and system-assigned object ids.
inline PortableServer::POA_ptr makePoa(PortableServer::POA_ptr parent,
                                       PortableServer::POAManager_ptr manager,
                                       const std::string& name) {
    const CORBA::PolicyList none;
    return parent->create_POA(name.c_str(), manager, none);
}

inline PortableServer::POA_ptr makePersistentPoa(PortableServer::POA_ptr parent,
                                                 PortableServer::POAManager_ptr manager,
                                                 const std::string& name) {
    CORBA::PolicyList policies;
    policies.length(2);
    policies[0] = parent->create_lifespan_policy(PortableServer::PERSISTENT);
    policies[1] = parent->create_id_assignment_policy(PortableServer::USER_ID);
    return parent->create_POA(name.c_str(), manager, policies);
}

/// Create a POA that asks a servant locator for every request.
inline PortableServer::POA_ptr makeLocatorPoa(PortableServer::POA_ptr parent,
                                              PortableServer::POAManager_ptr manager,
                                              const std::string& name) {
    CORBA::PolicyList policies;
    policies.length(3);
    policies[0] = parent->create_request_processing_policy(PortableServer::USE_SERVANT_MANAGER);
    policies[1] = parent->create_servant_retention_policy(PortableServer::NON_RETAIN);
    policies[2] = parent->create_id_assignment_policy(PortableServer::USER_ID);
    return parent->create_POA(name.c_str(), manager, policies);
}

/// Create a POA whose servant activator etherealizes its objects.
inline PortableServer::POA_ptr makeActivatorPoa(PortableServer::POA_ptr parent,
                                                PortableServer::POAManager_ptr manager,
                                                const std::string& name) {
    CORBA::PolicyList policies;
    policies.length(2);
    policies[0] = parent->create_request_processing_policy(PortableServer::USE_SERVANT_MANAGER);
    policies[1] = parent->create_servant_retention_policy(PortableServer::RETAIN);
    return parent->create_POA(name.c_str(), manager, policies);
}

/// Activate a new scripted session under the caller's id.
inline CORBA::Object_ptr activateWithId(PortableServer::POA_ptr poa, const char* id) {
    const PortableServer::ServantBase_var servant = new ScriptedSession;
    const PortableServer::ObjectId_var oid = PortableServer::string_to_ObjectId(id);
    poa->activate_object_with_id(oid.in(), servant.in());
    return poa->id_to_reference(oid.in());
}

}  // namespace kelp::test
