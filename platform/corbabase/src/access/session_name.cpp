#include <kelp/corbabase/session_name.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/poas.h>
#include <kelp/orb/request.h>

#include "orb/orb_life.h"

namespace NS_CORBA {

std::string TEUserHelper::GetNmsIPAddrByContext() {
    try {
        if (const kelp::orb::RequestInfo* request = kelp::orb::currentRequest())
            return request->topPoaName();
        const CORBA::ORB_var orb = OrbLife::instance().orb();
        if (CORBA::is_nil(orb.in()))
            return {};
        return kelp::orb::currentTopPoaName(orb.in());
    } catch (const CORBA::Exception& failure) {
        tracePoint("teuserhelper");
        TaException(failure, "[TEUserHelper::GetNmsIPAddrByContext] No session name!");
    }
    return {};
}

}  // namespace NS_CORBA
