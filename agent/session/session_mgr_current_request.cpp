// The session manager's operations for other modules that say whose request is being served.

#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/security_mgr.h>
#include <kelp/corbabase/trace.h>

#include <cstring>

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "sessionmgr";

bool isChildOfSessionPoa(const char* poaName) {
    return std::strcmp(poaName, "iterator") == 0 || std::strcmp(poaName, "session") == 0;
}

}  // namespace

std::string SessionMgr::GetNmsIPAddrByContext() {
    try {
        const CORBA::ORB_var orb = NS_CORBA::CorbaBaseAgentConfig::Instance()->GetOrb();
        const CORBA::Object_var object = orb->resolve_initial_references("POACurrent");
        const PortableServer::Current_var current = PortableServer::Current::_narrow(object.in());
        if (CORBA::is_nil(current.in()))
            return {};
        const PortableServer::POA_var poa = current->get_POA();
        if (CORBA::is_nil(poa.in()))
            return {};
        CORBA::String_var name = poa->the_name();
        if (isChildOfSessionPoa(name.in())) {
            const PortableServer::POA_var parent = poa->the_parent();
            if (CORBA::is_nil(parent.in()))
                return {};
            name = parent->the_name();
        }
        return std::string(name.in());
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaException(ex, "[SessionMgr::GetNmsIPAddrByContext] Get nms ip address failed!");
        return {};
    }
}

int SessionMgr::GetUserIDByContext() {
    return NS_CORBA::CorbaSecurityMgr::Instance()->GetUserID(GetNmsIPAddrByContext());
}

}  // namespace NS_KELPCORBA
