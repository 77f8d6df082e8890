#include "adapter/iterator_activator.h"

#include <kelp/agent/session_mgr.h>
#include <kelp/orb/poas.h>

#include <string>

namespace NS_KELPCORBA {

PortableServer::ObjectId* IteratorServantActivator::activate(PortableServer::POA_ptr poa,
                                                             PortableServer::Servant iterator) {
    const PortableServer::ServantManager_var manager = poa->get_servant_manager();
    auto* const activator = dynamic_cast<IteratorServantActivator*>(manager.in());
    if (activator == nullptr)
        throw PortableServer::POA::WrongPolicy();
    PortableServer::ObjectId_var id = activator->newId();
    poa->activate_object_with_id(id.in(), iterator);
    return id._retn();
}

PortableServer::ObjectId* IteratorServantActivator::newId() {
    const NS_CORBA::SessionToken* const token = token_.get();
    if (token == nullptr)
        throw CORBA::OBJ_ADAPTER(0, CORBA::COMPLETED_NO);
    return token->idOf(std::to_string(++lastNumber_));
}

PortableServer::Servant IteratorServantActivator::incarnate(const PortableServer::ObjectId&,
                                                            PortableServer::POA_ptr) {
    throw kelp::orb::unknownObject();
}

void IteratorServantActivator::etherealize(const PortableServer::ObjectId&, PortableServer::POA_ptr,
                                           PortableServer::Servant servant,
                                           CORBA::Boolean /*cleanup_in_progress*/,
                                           CORBA::Boolean remaining_activations) {
    if (servant == nullptr || remaining_activations)
        return;
    if (SessionMgr* sessions = SessionMgr::Existing())
        sessions->remove_iterator(servant);
    servant->_remove_ref();
}

}  // namespace NS_KELPCORBA
