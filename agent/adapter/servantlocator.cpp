#include "adapter/servantlocator.h"

#include "util/tracepoint.h"

#include <kelp/agent/session_mgr.h>
#include <kelp/orb/poas.h>

#include <mtnm/common.h>

namespace NS_KELPCORBA {
namespace {

/// The manager's name that the object id stands for; an id that is no text names no manager.
CORBA::String_var managerName(const PortableServer::ObjectId& oid) {
    try {
        return CORBA::String_var(PortableServer::ObjectId_to_string(oid));
    } catch (const CORBA::BAD_PARAM&) {
        throw CORBA::OBJECT_NOT_EXIST();
    }
}

}  // namespace

PortableServer::Servant TAServantLocator::preinvoke(const PortableServer::ObjectId& oid,
                                                    PortableServer::POA_ptr adapter, const char* operation,
                                                    void*& /*cookie*/) {
    if (CORBA::is_nil(adapter) || operation == nullptr) {
        tracePoint("sessionsource");
        NS_CORBA::TaTrace("[preinvoke] exception for input parameter is null!");
        return nullptr;
    }
    // a dying POA of some ORBs serves new requests as long as an old one runs
    if (kelp::orb::isDying(adapter))
        throw CORBA::OBJECT_NOT_EXIST();
    const CORBA::String_var name = managerName(oid);
    SessionMgr* sessions = SessionMgr::Existing();
    POA_common::Common_I* servant = sessions == nullptr ? nullptr : sessions->pin_servant(name.in());
    if (servant == nullptr)
        throw CORBA::OBJECT_NOT_EXIST();
    return servant;
}

void TAServantLocator::postinvoke(const PortableServer::ObjectId&, PortableServer::POA_ptr, const char*,
                                  void*, PortableServer::Servant servant) {
    if (servant != nullptr)
        servant->_remove_ref();
}

}  // namespace NS_KELPCORBA
