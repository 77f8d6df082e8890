#include <kelp/corbabase/persistent_poa.h>
#include <kelp/corbabase/trace.h>

namespace NS_CORBA {

PortableServer::POA_ptr get_persistent_poa(PortableServer::POA_ptr parent, const char* name) {
    if (CORBA::is_nil(parent) || name == nullptr)
        throw CORBA::BAD_PARAM();
    const PortableServer::POAManager_var manager = parent->the_POAManager();
    CORBA::PolicyList policies(2);
    policies.length(2);
    policies[0] = parent->create_lifespan_policy(PortableServer::PERSISTENT);
    policies[1] = parent->create_id_assignment_policy(PortableServer::USER_ID);
    PortableServer::POA_var poa;
    try {
        poa = parent->create_POA(name, manager.in(), policies);
    } catch (const PortableServer::POA::AdapterAlreadyExists&) {
        poa = parent->find_POA(name, false);
    }
    for (CORBA::ULong i = 0; i < policies.length(); ++i)
        policies[i]->destroy();
    return poa._retn();
}

CORBA::Object_ptr get_persistent_ref(PortableServer::POA_ptr poa, PortableServer::Servant servant,
                                     const char* id) {
    if (CORBA::is_nil(poa) || servant == nullptr || id == nullptr)
        return CORBA::Object::_nil();
    const PortableServer::ObjectId_var objectId = PortableServer::string_to_ObjectId(id);
    try {
        poa->activate_object_with_id(objectId.in(), servant);
    } catch (const PortableServer::POA::ObjectAlreadyActive&) {
        const PortableServer::ServantBase_var active = poa->id_to_servant(objectId.in());
        if (active.in() != servant) {
            tracePoint("persistentpoa");
            TaTrace("[get_persistent_ref] The object id %s is taken by another servant!", id);
            return CORBA::Object::_nil();
        }
    } catch (const PortableServer::POA::ServantAlreadyActive&) {
        tracePoint("persistentpoa");
        TaTrace("[get_persistent_ref] The servant for %s is active under another object id!", id);
        return CORBA::Object::_nil();
    }
    return poa->id_to_reference(objectId.in());
}

}  // namespace NS_CORBA
