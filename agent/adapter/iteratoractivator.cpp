#include "adapter/iteratoractivator.h"

#include <kelp/agent/session_mgr.h>

namespace NS_KELPCORBA {

PortableServer::Servant IteratorServantActivator::incarnate(const PortableServer::ObjectId&,
                                                            PortableServer::POA_ptr) {
    throw CORBA::OBJECT_NOT_EXIST();
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
